#!/usr/bin/perl
# The preparation of Ada sources for their Target Deployment Port. This tool
# chain has no Ada port: the step says so and fails, and the node stops
# before its children build.
#
#   AdaTDP.pl ENVIRONMENT_FILE NAME
use strict;
use warnings;
my $name = $ARGV[1] // '';
print STDERR "AdaTDP.pl: $name: this tool chain has no Ada Target Deployment Port\n";
exit 1;
