#!/usr/bin/perl
# The preparation of a Java target for its run-time analyses. This tool chain
# has no Java port: the step says so and fails, and the node stops before
# its children build.
#
#   TDPBatchJava.pl ENVIRONMENT_FILE NAME
use strict;
use warnings;
my $name = $ARGV[1] // '';
print STDERR "TDPBatchJava.pl: $name: this tool chain has no Java Target Deployment Port\n";
exit 1;
