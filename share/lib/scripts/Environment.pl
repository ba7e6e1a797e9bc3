#!/usr/bin/perl
# Shows what a step's environment file gives a tool chain script: the object's
# name from the command line and the variables that the studio wrote.
#
#   Environment.pl ENVIRONMENT_FILE NAME

use strict;
use warnings;
use Velmont::Env qw(load_environment);

my ($environment, $name) = @ARGV;
die "usage: Environment.pl ENVIRONMENT_FILE NAME\n" unless defined $name;
load_environment($environment);

no strict 'vars';
print "object: $name\n";
print "environment file: $environment\n";
for my $variable (qw(STUDIO_IDE OSNAME ZENTAHOME BINDIR SCRIPTDIR WORKING_DIR
                     PROJECT_NAME PROJECT_PATH USERNAME STUDIO_PORT)) {
    no strict 'refs';
    my $value = ${"main::$variable"};
    printf "  \$%-12s = %s\n", $variable, defined $value ? "'$value'" : '(not set)';
}
exit 0;
