#!/usr/bin/perl
# The build step of a library node: the objects of the node's subtree become
# the product $TESTPROGRAM_ABS, of the kind $ZTL_GENERATION_FORMAT says: a
# static library ("LIB", with the port's ARCHIVER), a shared library ("DLL")
# or a program ("EXE", both with the port's LINKER). The libraries that the
# node's own links name go into a shared library or a program. The product is
# reported in the log of produced files: LIB for a library, EXE for a program.
#
#   Library.pl ENVIRONMENT_FILE NAME

use strict;
use warnings;
use Text::ParseWords qw(shellwords);
use Velmont::Compile qw(setting setting_list);
use Velmont::Env qw(load_environment);
use Velmont::Port qw(read_port);
use Velmont::Program qw(link_program archive_library report_products);

my ($environment, $name) = @ARGV;
die "usage: Library.pl ENVIRONMENT_FILE NAME\n" unless defined $name;

sub build_library {
    my ($port) = @_;
    my $format = uc(setting('ZTL_GENERATION_FORMAT') || 'LIB');
    my $product = setting('TESTPROGRAM_ABS');
    my @objects = setting_list('OBJECTS');
    my @libraries = setting_list('ADDITIONAL_LIBRARIES');
    my $status;
    if ($format eq 'LIB') {
        $status = archive_library($port, $product, \@objects);
    } elsif ($format eq 'DLL') {
        # A position-independent program's options do not make a library.
        my @flags = grep { $_ ne '-pie' } shellwords(setting('LDFLAGS'));
        die "no object to link into $product\n" unless @objects;
        $status = link_program($port, $product, \@objects, \@libraries, ['-shared', @flags]);
    } elsif ($format eq 'EXE') {
        die "no object to link into $product\n" unless @objects;
        $status = link_program($port, $product, \@objects, \@libraries, [shellwords(setting('LDFLAGS'))]);
    } else {
        die "unknown library kind '$format': LIB, DLL or EXE\n";
    }
    return $status if $status;
    report_products($format eq 'EXE' ? 'EXE' : 'LIB', $product);
    return 0;
}

my $status = eval {
    load_environment($environment);
    setting('STAGE') =~ /l/ ? build_library(read_port()) : 0;
};
if (!defined $status) {
    print STDERR "Library.pl: $name: $@";
    exit 1;
}
exit $status;
