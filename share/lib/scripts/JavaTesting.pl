#!/usr/bin/perl
# The reference tool chain has no Java test language: the node's steps end
# here with a failure that says so.
#
#   JavaTesting.pl ENVIRONMENT_FILE NAME

use strict;
use warnings;

my ($environment, $name) = @ARGV;
print STDERR "JavaTesting.pl: ", (defined $name ? "$name: " : ''),
    "the reference tool chain has no Java test language\n";
exit 1;
