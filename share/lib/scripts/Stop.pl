#!/usr/bin/perl
# Stops a running step: the process whose id the studio gives, and the
# processes it started. The studio kills the step's own process afterwards if
# it still lives.
#
#   Stop.pl ENVIRONMENT_FILE PID [AFTER_CHILD_SCRIPT]

use strict;
use warnings;

my ($environment, $pid, $script) = @ARGV;
die "usage: Stop.pl ENVIRONMENT_FILE PID [AFTER_CHILD_SCRIPT]\n"
    unless defined $pid && $pid =~ /^\d+$/ && $pid > 1;

# Children first, so that none is left behind without its parent.
sub descendants {
    my ($parent) = @_;
    my @found;
    opendir(my $proc, '/proc') or return ();
    for my $entry (grep { /^\d+$/ } readdir($proc)) {
        open(my $stat, '<', "/proc/$entry/stat") or next;
        my $line = <$stat>;
        close($stat);
        next unless defined $line && $line =~ /\)\s+\S\s+(\d+)/;
        push @found, descendants($entry), $entry if $1 == $parent;
    }
    closedir($proc);
    return @found;
}

my @victims = (descendants($pid), $pid);
my $signalled = kill 'TERM', @victims;
print "Stop: $signalled process(es) signalled for ", (defined $script && length $script ? $script : 'the step'), "\n";
exit 0;
