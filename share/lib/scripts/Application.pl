#!/usr/bin/perl
# The steps of an application node, with the tools of the step's Target
# Deployment Port.
#
# The build step (the letter "l" in $STAGE) links the objects of the node's
# subtree and the libraries its links name into the program $TESTPROGRAM_ABS.
# The execution step (the letter "e") runs the program in the node's
# directory: its output goes to the console, the records of an instrumented
# program to the split file $ZTL_OUT_FILE, which the studio follows while the
# program runs. The step ends with the program's status.
#
#   Application.pl ENVIRONMENT_FILE NAME

use strict;
use warnings;
use File::Spec;
use Text::ParseWords qw(shellwords);
use Velmont::Compile qw(setting setting_list intermediate_dir);
use Velmont::Env qw(load_environment);
use Velmont::Port qw(read_port);
use Velmont::Program qw(link_program run_program report_products forget_coverage);

my ($environment, $name) = @ARGV;
die "usage: Application.pl ENVIRONMENT_FILE NAME\n" unless defined $name;

sub build_program {
    my ($port) = @_;
    my @objects = setting_list('OBJECTS');
    die "no object to link: the node has no source that compiled\n" unless @objects;
    my $program = setting('TESTPROGRAM_ABS');
    my $status = link_program($port, $program, \@objects, [setting_list('ADDITIONAL_LIBRARIES')],
                              [shellwords(setting('LDFLAGS'))]);
    return $status if $status;
    report_products('EXE', $program);
    return 0;
}

sub run {
    my $program = setting('TESTPROGRAM_ABS');
    my %variables;
    my @modes;
    push @modes, 't' if setting('ZTTMODE');
    push @modes, 'c' if setting('ZTCMODE');
    if (@modes) {
        my $split = File::Spec->rel2abs(setting('ZTL_OUT_FILE'));
        # The studio follows the file from its start: records of an earlier
        # run must not be read again.
        unlink $split;
        forget_coverage(intermediate_dir());
        %variables = (VELMONT_SPLIT_FILE => $split, VELMONT_RT_MODES => join('', @modes),
                      VELMONT_COVERAGE_DIR => intermediate_dir());
        report_products('SPT', $split);
    }
    my $limit = $ENV{VELMONT_RUN_TIME_LIMIT} // 0;
    my $status = run_program($program, [shellwords(setting('ARGUMENTS'))], \%variables, $limit);
    print STDERR "$name: the program ended with status $status\n" if $status;
    return $status;
}

# Errors of the script itself end the step with status 1, in its own words.
my $status = eval {
    load_environment($environment);
    my $stage = setting('STAGE');
    my $result = 0;
    $result = build_program(read_port()) if $stage =~ /l/;
    $result = run() if !$result && $stage =~ /e/;
    $result;
};
if (!defined $status) {
    print STDERR "Application.pl: $name: $@";
    exit 1;
}
exit $status;
