package Velmont::Program;

# Programs and libraries of a step, and the run of a program.
#
#   link_program(PORT, OUTPUT, OBJECTS, LIBRARIES, FLAGS)
#       links the objects and libraries into OUTPUT with the port's LINKER;
#       FLAGS are options of the link itself (-shared, ...). An object of the
#       run-time library among them, or a coverage or trace analysis of the
#       step, adds what an instrumented program needs. The status of the link.
#   archive_library(PORT, OUTPUT, OBJECTS)
#       makes the static library OUTPUT anew with the port's ARCHIVER.
#   run_program(PROGRAM, ARGUMENTS, ENVIRONMENT, TIME_LIMIT)
#       runs the program in the current directory, its output passing to the
#       console, with the variables of ENVIRONMENT (a hash) added; ends it
#       with its whole process group after TIME_LIMIT seconds when that is
#       positive. The program's status; 1 with a message when it was killed
#       by a signal, ran too long, or could not start.
#   forget_coverage(DIRECTORY)
#       deletes the coverage data (.gcda) of the objects in DIRECTORY, so
#       that the coverage a run reports is its own: gcc adds each run's
#       counts to the data that it finds.
#   report_products(TYPE, FILES)
#       appends each file to the log of produced files and names it on the
#       console, so that the user sees where the step left it.
#
# A stop of the step reaches the program through the step's process group.

use strict;
use warnings;
use Exporter 'import';
use Config;
use File::Basename qw(dirname basename);
use File::Path qw(make_path);
use File::Spec;
use POSIX qw(:sys_wait_h);
use Text::ParseWords qw(shellwords);
use Velmont::Compile qw(setting setting_list);
use Velmont::Log qw(log_file);
use Velmont::Run qw(run_tool);

our @EXPORT_OK = qw(link_program archive_library run_program report_products is_runtime_object forget_coverage);

# An object of the run-time library that Source.pl compiled beside the
# instrumented objects.
sub is_runtime_object {
    my ($path) = @_;
    return basename($path) =~ /^velmont_rt(cov)?\./;
}

sub tool_of {
    my ($port, $key) = @_;
    my $tool = $port->{$key};
    die "the Target Deployment Port $port->{DIRECTORY} names no $key\n" unless defined $tool && length $tool;
    return $tool;
}

sub prepare_output {
    my ($output) = @_;
    die "no output file is named\n" unless defined $output && length $output;
    my $dir = dirname($output);
    make_path($dir, { error => \my $errors }) unless -d $dir;
    die "cannot make the directory $dir\n" unless -d $dir;
    # A product of an earlier run must not pass for this one's.
    unlink $output;
}

sub link_program {
    my ($port, $output, $objects, $libraries, $flags) = @_;
    my $linker = tool_of($port, 'LINKER');
    prepare_output($output);
    my @objects = @$objects;
    # The coverage variant of the run-time library holds all of the plain one.
    @objects = grep { basename($_) !~ /^velmont_rt\./ } @objects
        if grep { basename($_) =~ /^velmont_rtcov\./ } @objects;
    my $coverage = setting('ZTCMODE') || grep { basename($_) =~ /^velmont_rtcov\./ } @objects;
    my $instrumented = $coverage || setting('ZTTMODE') || grep { is_runtime_object($_) } @objects;
    my @options = @$flags;
    # Function names are found in the program's dynamic symbol table.
    push @options, '-rdynamic' if $instrumented;
    push @options, '--coverage' if $coverage;
    my @paths = map { "-L$_" } grep { length } setting_list('LIBRARY_DIR_LIST');
    # A shared library is found again where it was made when the program runs.
    my %seen;
    my @rpaths = map { "-Wl,-rpath," . dirname($_) }
        grep { /\.so(\.\d+)*$/ && !$seen{dirname($_)}++ } @$libraries;
    return run_tool($linker, @options, '-o', $output, @objects, @$libraries, @paths, @rpaths,
                    shellwords(setting('LIBRARIES')));
}

sub archive_library {
    my ($port, $output, $objects) = @_;
    my $archiver = tool_of($port, 'ARCHIVER');
    prepare_output($output);
    die "there is no object to put into $output\n" unless @$objects;
    return run_tool($archiver, 'rcs', $output, @$objects);
}

sub signal_name {
    my ($number) = @_;
    my @names = split ' ', $Config{sig_name} // '';
    return defined $names[$number] ? "SIG$names[$number]" : "signal $number";
}

sub forget_coverage {
    my ($dir) = @_;
    opendir(my $listing, $dir) or return;
    unlink map { File::Spec->catfile($dir, $_) } grep { /\.gcda$/ } readdir($listing);
    closedir($listing);
}

sub run_program {
    my ($program, $arguments, $environment, $limit) = @_;
    die "$program: no such program; build the node first\n" unless -f $program;
    die "$program: the file is not executable\n" unless -x $program;
    print join(' ', map { /[\s'"\\]/ ? "'$_'" : $_ } $program, @$arguments), "\n" if $ENV{ZENTASTUDIO_VERBOSE};
    my $pid = fork();
    die "cannot start $program: $!\n" unless defined $pid;
    if ($pid == 0) {
        $ENV{$_} = $environment->{$_} for keys %$environment;
        { no warnings 'exec'; exec { $program } $program, @$arguments; }
        print STDERR "cannot run $program: $!\n";
        POSIX::_exit(127);
    }
    # A stop reaches this script first: the program must not stay behind.
    local $SIG{TERM} = sub { kill 'TERM', $pid; waitpid($pid, 0); exit 1; };
    my $expired = 0;
    if ($limit && $limit > 0) {
        local $SIG{ALRM} = sub { $expired = 1; kill 'KILL', $pid; };
        alarm($limit);
        waitpid($pid, 0);
        alarm(0);
    } else {
        waitpid($pid, 0);
    }
    my $status = $?;
    if ($expired) {
        print STDERR "$program: stopped after running $limit s\n";
        return 1;
    }
    if ($status & 127) {
        printf STDERR "%s: the program was killed by %s%s\n", $program, signal_name($status & 127),
            ($status & 128) ? ' (core dumped)' : '';
        return 1;
    }
    return $status >> 8;
}

sub report_products {
    my ($type, @files) = @_;
    for my $file (@files) {
        log_file($type, $file);
        print "$type $file\n";
    }
}

1;
