package Velmont::Run;

# Runs one tool of a step. Its output goes to the console as the tool wrote
# it, so that the console's parser finds the files and lines it names.

use strict;
use warnings;
use Exporter 'import';

our @EXPORT_OK = qw(run_tool);

# The tool's exit status; 1 when it was killed by a signal; 1 with a message
# naming the program when it could not be started at all.
sub run_tool {
    my (@command) = @_;
    print join(' ', map { /[\s'"\\]/ ? "'$_'" : $_ } @command), "\n" if $ENV{ZENTASTUDIO_VERBOSE};
    # The list form: no shell sees the arguments, blanks and quotes stay.
    my $status = system { $command[0] } @command;
    if ($status == -1) {
        print STDERR "cannot run $command[0]: $!\n";
        return 1;
    }
    return 1 if $? & 127;
    return $? >> 8;
}

1;
