#!/usr/bin/perl
# The component test of a C unit. Building links the test program from the
# unit, the harness of the node's active script and its stubs; executing runs
# it, each test in a process of its own, and writes the XRD report whose state
# gives the node's verdict.
#
#   UnitTesting.pl ENVIRONMENT_FILE NAME

use strict;
use warnings;
use File::Spec;
use Velmont::Env qw(load_environment);
use Velmont::Harness qw(link_program run_harness read_results write_xrd);
use Velmont::Log qw(log_file);
use Velmont::Port qw(read_port);

my ($environment, $name) = @ARGV;
die "usage: UnitTesting.pl ENVIRONMENT_FILE NAME\n" unless defined $name;

no strict 'vars';
no warnings 'once';

sub execute {
    my $program = $main::TESTPROGRAM_ABS;
    my $dir = length($main::INTDIR // '') ? $main::INTDIR : '.';
    my $results = File::Spec->catfile($dir, "$name.utr");
    my $status = run_harness($program, $results, $main::ZTL_OUT_FILE // '');
    # 1: some test failed, which the report tells; anything else is a run
    # that did not end as a harness ends.
    return $status if $status > 1;
    my $report = read_results($results) or die "the test program left no result in $results\n";
    my $xrd = length($main::XRDFILE // '') ? $main::XRDFILE : File::Spec->catfile($main::OUTDIR || '.', "$name.xrd");
    write_xrd($xrd, $name, join(' ', @main::UNITTESTING_SOURCES), $report);
    log_file('XRD', File::Spec->rel2abs($xrd));
    return 0;
}

my $status = eval {
    load_environment($environment);
    my $stage = $main::STAGE // '';
    my $result = 0;
    $result = link_program(read_port(), @main::OBJECTS) if $stage =~ /l/;
    $result = execute() if !$result && $stage =~ /e/;
    $result;
};
if (!defined $status) {
    print STDERR "UnitTesting.pl: $name: $@";
    exit 1;
}
exit $status;
