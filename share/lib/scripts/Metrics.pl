#!/usr/bin/perl
# Computes the static metrics of one source file with the installation's
# metrics tool, with the include directories and preprocessor options of the
# node's configuration, and reports the metrics file it wrote.
#
#   Metrics.pl ENVIRONMENT_FILE NAME
#
# The environment file gives the source ($FILENAME), where the metrics file
# goes ($METDIR) and the file in which produced files are reported
# ($LOGFILENAME2, one line "MET path").

use strict;
use warnings;
use File::Basename qw(basename dirname);
use File::Spec;
use Text::ParseWords qw(shellwords);
use Velmont::Env qw(load_environment);

my ($environment, $name) = @ARGV;
die "usage: Metrics.pl ENVIRONMENT_FILE NAME\n" unless defined $name;
load_environment($environment);

no strict 'vars';
no warnings 'once';
my $source = $main::FILENAME;
die "Metrics.pl: the environment file names no source (\$FILENAME)\n" unless defined $source && length $source;
unless (-f $source) {
    print STDERR "$source:1: no such source file\n";
    exit 1;
}
my $outdir = defined $main::METDIR && length $main::METDIR ? $main::METDIR : '.';
my $bindir = defined $main::BINDIR && length $main::BINDIR ? $main::BINDIR : dirname($^X);
my $tool = File::Spec->catfile($bindir, 'velmont-metrics');

# Only what changes how the source reads: include directories, macros, the
# language standard and forced includes.
my @options;
for my $dir (@main::INCLUDE_DIR_LIST) {
    push @options, '-I', $dir if defined $dir && length $dir;
}
my @flags = map { defined $_ ? shellwords($_) : () } ($main::CPPFLAGS, $main::CFLAGS);
for (my $i = 0; $i < @flags; ++$i) {
    my $flag = $flags[$i];
    if ($flag =~ /^-(?:[DUI]|std=|isystem|iquote|include)(.*)$/) {
        push @options, $flag;
        # A value given as the next word goes with its option.
        push @options, $flags[++$i] if $1 eq '' && $flag !~ /^-std=/ && $i + 1 < @flags;
    }
}
if (defined $main::TDP_LANGUAGE && $main::TDP_LANGUAGE =~ /^C\+\+$/i && $source =~ /\.h$/i) {
    push @options, '-x', 'c++';
}

my $metrics = File::Spec->catfile($outdir, basename($source) . '.met');
my @command = ($tool, '-o', $metrics, @options, '--', $source);
print join(' ', @command), "\n" if $main::VERBOSE;
my $status = system { $command[0] } @command;
if ($status == -1) {
    print STDERR "Metrics.pl: $tool cannot be run: $!\n";
    exit 1;
}
if ($status & 127) {
    exit 1;
}
$status >>= 8;
exit $status if $status != 0;

if (defined $main::LOGFILENAME2 && length $main::LOGFILENAME2) {
    open(my $log, '>>', $main::LOGFILENAME2)
        or die "Metrics.pl: $main::LOGFILENAME2 cannot be written: $!\n";
    print $log 'MET ', File::Spec->rel2abs($metrics), "\n";
    close $log;
}
print "metrics: $metrics\n";
exit 0;
