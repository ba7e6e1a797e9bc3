package Velmont::Log;

# The log of produced files that the studio reads when a step ends: one line
# for each file, its type in three letters, a blank and the path.

use strict;
use warnings;
use Exporter 'import';

our @EXPORT_OK = qw(log_file);

sub log_file {
    my ($type, $path) = @_;
    die "log type '$type' is not three characters\n" unless length($type) == 3;
    no strict 'vars';
    my $log = $main::LOGFILENAME;
    return 1 unless defined $log && length $log;
    open(my $out, '>>', $log) or die "cannot append to the log $log: $!\n";
    print $out "$type $path\n";
    close($out) or die "cannot write the log $log: $!\n";
    return 1;
}

1;
