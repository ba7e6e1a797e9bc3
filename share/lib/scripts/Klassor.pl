#!/usr/bin/perl
# The reference tool chain has no C++ object test language: the node's steps end
# here with a failure that says so.
#
#   Klassor.pl ENVIRONMENT_FILE NAME

use strict;
use warnings;

my ($environment, $name) = @ARGV;
print STDERR "Klassor.pl: ", (defined $name ? "$name: " : ''),
    "the reference tool chain has no C++ object test language\n";
exit 1;
