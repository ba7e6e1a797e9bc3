#!/usr/bin/perl
# The preparation of sources for probes. This tool chain has no probes: the
# step says so and fails, and the node stops before its children build.
#
#   Probe.pl ENVIRONMENT_FILE NAME
use strict;
use warnings;
my $name = $ARGV[1] // '';
print STDERR "Probe.pl: $name: this tool chain has no probes; clear the node's probe setting\n";
exit 1;
