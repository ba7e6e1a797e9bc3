#!/usr/bin/perl
# The build step of a "file check" node: each file the node lists must exist
# and hold at least the smallest size its settings give. A problem is told
# as "PATH:1: ...", a form the studio's console opens in the editor.
#
#   FileCheck.pl ENVIRONMENT_FILE NAME
#
# From the environment file:
#   @FILECHECK_FILES       the node's files, relative ones below $FILECHECK_ROOT
#   $FILECHECK_ROOT        the directory of the relative paths, made absolute
#   $FILECHECK_MIN_SIZE    the smallest size in bytes
#   $FILECHECK_WARN_ONLY   1: problems are warnings, and the check succeeds
# Exit status: 0 every file passed (or warnings only), 1 a file failed, 2 the
# environment file could not be read.

use strict;
use warnings;
use File::Spec;
use Velmont::Env qw(load_environment);

my ($environment, $name) = @ARGV;
die "usage: FileCheck.pl ENVIRONMENT_FILE NAME\n" unless defined $name;
eval { load_environment($environment); 1 } or do { print STDERR $@; exit 2 };

our ($FILECHECK_ROOT, $FILECHECK_MIN_SIZE, $FILECHECK_WARN_ONLY, @FILECHECK_FILES);
my $root = defined $FILECHECK_ROOT ? $FILECHECK_ROOT : '.';
my $smallest = $FILECHECK_MIN_SIZE || 0;
my $warn_only = $FILECHECK_WARN_ONLY;
my $severity = $warn_only ? 'warning' : 'error';
my @files = @FILECHECK_FILES;

my $problems = 0;
for my $file (@files) {
    my $path = File::Spec->file_name_is_absolute($file) ? $file : File::Spec->catfile($root, $file);
    my $problem;
    if (!-e $path) {
        $problem = 'missing';
    } elsif (!-f $path) {
        $problem = 'not a file';
    } elsif (-s _ < $smallest) {
        $problem = sprintf('%d byte(s), fewer than %d', -s _, $smallest);
    }
    next unless defined $problem;
    ++$problems;
    print STDERR "$path:1: $severity: $problem\n";
}
printf "%s: %d file(s) checked, %d problem(s)\n", $name, scalar @files, $problems;
exit($problems && !$warn_only ? 1 : 0);
