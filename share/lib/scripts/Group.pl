#!/usr/bin/perl
# The end of a group's build or execution: it gathers what the group's subtree
# produced. This reference script reports what its environment file gives it:
# the group's name, the names of its child nodes and the file lists.
#
#   Group.pl ENVIRONMENT_FILE NAME

use strict;
use warnings;
use Velmont::Env qw(load_environment);

my ($environment, $name) = @ARGV;
die "usage: Group.pl ENVIRONMENT_FILE NAME\n" unless defined $name;
load_environment($environment);

no strict 'refs';
print "group: $name\n";
print "children: ", join(', ', @{"main::NODENAMES"}), "\n";
for my $list (qw(FDCFILES TIOFILES RODFILES)) {
    # Coverage and trace lists are written only when coverage is selected.
    next unless defined *{"main::$list"}{ARRAY};
    my @files = @{"main::$list"};
    printf "%s: %d file(s)\n", $list, scalar @files;
    print "  $_\n" for @files;
}
exit 0;
