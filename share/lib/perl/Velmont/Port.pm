package Velmont::Port;

# The description of the step's Target Deployment Port: KEY = "value" lines of
# the file $INIFILE in the directory $TARGETDIR, comments starting with "#".

use strict;
use warnings;
use Exporter 'import';
use File::Spec;

our @EXPORT_OK = qw(read_port);

# The port's settings as a hash; dies with a message that names the port when
# it cannot be read.
sub read_port {
    no strict 'vars';
    my $dir = $main::TARGETDIR;
    my $ini = defined $main::INIFILE && length $main::INIFILE ? $main::INIFILE : 'tp.ini';
    die "no Target Deployment Port is selected\n" unless defined $dir && length $dir;
    # The studio writes its own error text in place of a port it cannot find.
    die "unknown Target Deployment Port: $dir\n" unless -d $dir;
    my $file = File::Spec->catfile($dir, $ini);
    open(my $in, '<', $file) or die "unknown Target Deployment Port: $file: $!\n";
    my %port;
    while (my $line = <$in>) {
        next if $line =~ /^\s*(#|$)/;
        if ($line =~ /^\s*(\w+)\s*=\s*"(.*)"\s*$/ || $line =~ /^\s*(\w+)\s*=\s*(.*?)\s*$/) {
            $port{$1} = $2;
        }
    }
    close($in);
    $port{DIRECTORY} = $dir;
    return \%port;
}

1;
