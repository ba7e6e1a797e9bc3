package Velmont::Env;

# Reads the environment file that the studio wrote for one step. The file is
# Perl source of plain assignments into package main and ends in a true value.

use strict;
use warnings;
use Exporter 'import';
use File::Spec;

our @EXPORT_OK = qw(load_environment);

sub load_environment {
    my ($file) = @_;
    die "no environment file given\n" unless defined $file && length $file;
    die "environment file $file does not exist\n" unless -f $file;
    # A relative path would be looked up in @INC, which no longer holds the
    # current directory.
    my $path = File::Spec->rel2abs($file);
    my $result;
    {
        package main;
        no strict;
        $result = do $path;
    }
    die "environment file $file: $@" if $@;
    die "environment file $file: $!\n" unless defined $result;
    die "environment file $file does not end in a true value\n" unless $result;
    return 1;
}

1;
