#!/usr/bin/perl
# Builds a component test script: the C test harness made from it, with the
# tests and families that the node selects, compiled into the intermediate
# directory and reported as objects of the node.
#
#   TestScript.pl ENVIRONMENT_FILE NAME

use strict;
use warnings;
use Velmont::Env qw(load_environment);
use Velmont::Harness qw(build_harness);
use Velmont::Port qw(read_port);

my ($environment, $name) = @ARGV;
die "usage: TestScript.pl ENVIRONMENT_FILE NAME\n" unless defined $name;

# A script that does not read names its own file and line; the other errors
# of the step name the node.
my $status = eval {
    load_environment($environment);
    build_harness(read_port());
};
if (!defined $status) {
    my $error = $@;
    print STDERR $error =~ /^\S+:\d+: error: / ? $error : "TestScript.pl: $name: $error";
    exit 1;
}
exit $status;
