#!/usr/bin/perl
# Compiles the file of a source node into the node's intermediate directory,
# with the compiler of the step's Target Deployment Port, and reports the
# object in the log of produced files. An instrumented source is compiled so
# that the program reports what it runs, and the run-time library that
# receives those reports is compiled beside it.
#
#   Source.pl [--print-command] ENVIRONMENT_FILE NAME
#
# With --print-command it compiles nothing and prints the command it would
# run, as one entry of a compilation database.

use strict;
use warnings;
use Velmont::Compile qw(compile_source print_compile_command);
use Velmont::Env qw(load_environment);
use Velmont::Port qw(read_port);

my $print_only = @ARGV && $ARGV[0] eq '--print-command' ? shift @ARGV : undef;
my ($environment, $name) = @ARGV;
die "usage: Source.pl [--print-command] ENVIRONMENT_FILE NAME\n" unless defined $name;

# Errors of the script itself end the step with status 1, in its own words.
my $status = eval {
    load_environment($environment);
    $print_only ? print_compile_command(read_port()) : compile_source(read_port());
};
if (!defined $status) {
    print STDERR "Source.pl: $name: $@";
    exit 1;
}
exit $status;
