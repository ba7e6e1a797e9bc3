#!/usr/bin/perl
# Stops a running step: the process whose id the studio gives, the process
# group it leads (the studio starts every step in a group of its own), and the
# processes it started that left the group. The studio kills the step's group
# afterwards if anything of it still lives.
#
#   Stop.pl ENVIRONMENT_FILE PID [AFTER_CHILD_SCRIPT]

use strict;
use warnings;

my ($environment, $pid, $script) = @ARGV;
die "usage: Stop.pl ENVIRONMENT_FILE PID [AFTER_CHILD_SCRIPT]\n"
    unless defined $pid && $pid =~ /^\d+$/ && $pid > 1;

# Parent and process group of every process, from /proc.
my (%parent, %group);
if (opendir(my $proc, '/proc')) {
    for my $entry (grep { /^\d+$/ } readdir($proc)) {
        open(my $stat, '<', "/proc/$entry/stat") or next;
        my $line = <$stat>;
        close($stat);
        next unless defined $line && $line =~ /\)\s+\S\s+(\d+)\s+(\d+)/;
        ($parent{$entry}, $group{$entry}) = ($1, $2);
    }
    closedir($proc);
}

my %descendants;
my @pending = ($pid);
while (defined(my $each = shift @pending)) {
    for my $child (grep { $parent{$_} == $each } keys %parent) {
        push @pending, $child unless $descendants{$child}++;
    }
}
my @members = (defined $group{$pid} && $group{$pid} == $pid)
    ? grep { $group{$_} == $pid } keys %group : ();
my %member = map { $_ => 1 } @members;
my @outside = grep { !$member{$_} } ($pid, keys %descendants);

# The group is signalled as one, so that a process forked meanwhile is not
# missed; the descendants that left it one by one.
my $signalled = 0;
$signalled += @members if @members && kill('TERM', -$pid);
$signalled += kill('TERM', @outside) if @outside;
print "Stop: $signalled process(es) signalled for ",
    (defined $script && length $script ? $script : 'the step'), "\n";
exit 0;
