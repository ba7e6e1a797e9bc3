package Velmont::Harness;

# The component test of a C unit: the harness made from the test script and
# compiled into the intermediate directory, the test program linked from it,
# the unit and the stubs, its run, and the result it leaves as XRD.

use strict;
use warnings;
use Exporter 'import';
use File::Basename qw(basename dirname fileparse);
use File::Path qw(make_path);
use File::Spec;
use POSIX qw(WIFSIGNALED WTERMSIG);
use Text::ParseWords qw(shellwords);
use Velmont::Compile qw(compile_flags setting);
use Velmont::Log qw(log_file);
use Velmont::Program ();
use Velmont::Ptu qw(parse_file write_harness);
use Velmont::Run qw(run_tool);

our @EXPORT_OK = qw(build_harness link_program run_harness write_xrd read_results);

no strict 'refs';

# The list, or undef when the environment file does not state it at all: an
# empty selection selects nothing, a missing one everything.
sub optional_list {
    my ($name) = @_;
    return undef unless exists $main::{$name} && defined *{"main::$name"}{ARRAY};
    return [@{"main::$name"}];
}

sub intermediate_dir {
    my $dir = Velmont::Compile::intermediate_dir();
    make_path($dir, { error => \my $errors });
    die "cannot make the intermediate directory $dir\n" unless -d $dir;
    return $dir;
}

sub runtime_dir {
    return File::Spec->catdir(setting('ZENTAHOME'), 'lib', 'runtime');
}

sub object_extension {
    my ($port) = @_;
    my $extension = setting('OBJEXT');
    return length $extension ? $extension : $port->{OBJEXT} // 'o';
}

# Reads the script of the step, writes its harness with the selection of
# the step and compiles it with the harness's run-time part. The status.
sub build_harness {
    my ($port) = @_;
    my $file = setting('FILENAME');
    die "no test script is given\n" unless length $file;
    die "$file: no such test script\n" unless -f $file;
    my $script = parse_file($file);
    my $items = optional_list('VT_ITEM_SELECTION');
    my $families = optional_list('VT_FAM_SELECTION');
    my %item = map { $_ => 1 } @{ $items // [] };
    my %family = map { $_ => 1 } @{ $families // [] };
    my $selected = sub {
        my ($test, $fam) = @_;
        return (!$items || $item{$test}) && (!$families || $family{$fam});
    };
    my $dir = intermediate_dir();
    my ($base) = fileparse($file, qr/\.[^.]*/);
    my $harness = File::Spec->catfile($dir, "${base}_harness.c");
    open(my $out, '>', $harness) or die "cannot write the harness $harness: $!\n";
    print $out write_harness($script, $selected, $harness);
    close($out) or die "cannot write the harness $harness: $!\n";

    my $compiler = $port->{COMPILER};
    die "the Target Deployment Port $port->{DIRECTORY} names no COMPILER\n" unless defined $compiler && length $compiler;
    my $extension = object_extension($port);
    my $object = File::Spec->catfile($dir, "${base}_harness.$extension");
    unlink $object;
    # The script's own directory first: its headers stand beside it.
    my @includes = ('-I' . dirname(File::Spec->rel2abs($file)), '-I' . runtime_dir());
    my $status = run_tool($compiler, @includes, compile_flags(), '-c', $harness, '-o', $object);
    return $status if $status;
    log_file('OBJ', $object);

    # Plain C, whatever the language of the port, compiled again only when
    # its source is newer.
    my $source = File::Spec->catfile(runtime_dir(), 'velmont_ut.c');
    die "the test run-time $source is missing from the installation\n" unless -f $source;
    my $runtime = File::Spec->catfile($dir, "velmont_ut.$extension");
    if (!-f $runtime || -M $runtime > -M $source) {
        $status = run_tool($port->{RUNTIME_COMPILER} // 'gcc', '-c', '-g', '-fPIC', '-fno-instrument-functions',
                           '-I' . runtime_dir(), $source, '-o', $runtime);
        return $status if $status;
    }
    log_file('OBJ', $runtime);
    return 0;
}

# Links the objects of the node: the unit, the harness and its run-time.
sub link_program {
    my ($port, @objects) = @_;
    my $program = setting('TESTPROGRAM_ABS');
    die "no test program name is given\n" unless length $program;
    my @harnesses = grep { /_harness\.[^\/.]+$/ } @objects;
    die "no test script was built for this node\n" unless @harnesses;
    die "several test scripts were built for this node: " . join(', ', @harnesses) . "\n" if @harnesses > 1;
    # Linked as any program: an instrumented unit needs the coverage and
    # trace options that the program step gives.
    return Velmont::Program::link_program($port, $program, \@objects, [], [shellwords(setting('LDFLAGS'))]);
}

# Runs the program. Its output goes to the console and is appended to the
# split file as it comes. The harness's own status; a harness that was killed
# leaves no result to trust, and ends the step.
sub run_harness {
    my ($program, $results, $split) = @_;
    die "$program: the test program was not built\n" unless -x $program;
    unlink $results;
    my $stream;
    if (length $split) {
        make_path(dirname($split), { error => \my $errors });
        open($stream, '>>', $split) or die "cannot append to the split file $split: $!\n";
        $stream->autoflush(1);
        $ENV{VELMONT_SPLIT_FILE} = File::Spec->rel2abs($split);
        $ENV{VELMONT_COVERAGE_DIR} = intermediate_dir();
        Velmont::Program::forget_coverage(intermediate_dir());
    }
    local $| = 1;
    my $pid = open(my $out, '-|') // die "cannot start $program: $!\n";
    if ($pid == 0) {
        open(STDERR, '>&', \*STDOUT);
        exec { $program } $program, $results or do { print "cannot run $program: $!\n"; POSIX::_exit(127) };
    }
    while (my $line = <$out>) {
        print $line;
        print $stream $line if $stream;
    }
    close($out);
    my $status = $?;
    close($stream) if $stream;
    die "$program was ended by signal " . WTERMSIG($status) . "\n" if WIFSIGNALED($status);
    return $status >> 8;
}

# The result file of a run: the tests, each with its failures.
sub read_results {
    my ($file) = @_;
    open(my $in, '<', $file) or return;
    my (@tests, $script);
    while (my $line = <$in>) {
        chomp $line;
        my @fields = split /\t/, $line, -1;
        my $kind = shift @fields;
        if ($kind eq 'R') {
            $script = $fields[0];
        } elsif ($kind eq 'T') {
            my %test;
            @test{qw(service test family line verdict time signal)} = @fields;
            $test{failures} = [];
            push @tests, \%test;
        } elsif (($kind eq 'C' || $kind eq 'S') && @tests) {
            my %failure = (kind => $kind);
            @failure{qw(name expected obtained line)} = @fields;
            push @{ $tests[-1]{failures} }, \%failure;
        }
    }
    close($in);
    return { script => $script, tests => \@tests };
}

sub xml {
    my ($text) = @_;
    $text //= '';
    $text =~ s/&/&amp;/g;
    $text =~ s/</&lt;/g;
    $text =~ s/>/&gt;/g;
    $text =~ s/"/&quot;/g;
    $text =~ s/([\x00-\x08\x0b\x0c\x0e-\x1f])/sprintf('&#x%X;', ord $1)/ge;
    return $text;
}

sub attributes {
    my (@pairs) = @_;
    my $text = '';
    while (my ($name, $value) = splice(@pairs, 0, 2)) {
        $text .= " $name=\"" . xml($value) . '"';
    }
    return $text;
}

# The XRD report of a run: the node's state is "ok" only when at least one
# test ran and every test passed.
sub write_xrd {
    my ($file, $node, $unit, $results) = @_;
    my @tests = @{ $results->{tests} };
    my $passed = grep { $_->{verdict} eq 'ok' } @tests;
    my $time = 0;
    $time += $_->{time} || 0 for @tests;
    my $state = @tests && $passed == @tests ? 'ok' : 'failed';
    my $script = $results->{script} // '';
    make_path(dirname($file), { error => \my $errors });
    open(my $out, '>', $file) or die "cannot write the report $file: $!\n";
    print $out qq(<?xml version="1.0" encoding="UTF-8"?>\n);
    print $out '<XROD:RESULT xmlns:XROD="urn:velmont:xrd:1"' . attributes(script => $script, unit => $unit) . ">\n";
    print $out '  <XROD:NODE' . attributes(name => $node, state => $state, tests => scalar(@tests), passed => $passed,
                                          failed => @tests - $passed, time => sprintf('%.3f', $time)) . ">\n";
    for my $test (@tests) {
        my @attributes = (service => $test->{service}, test => $test->{test}, family => $test->{family},
                          verdict => $test->{verdict}, line => $test->{line}, time => sprintf('%.3f', $test->{time} || 0));
        push @attributes, signal => $test->{signal} if length($test->{signal} // '');
        my @failures = @{ $test->{failures} };
        if (!@failures) {
            print $out '    <XROD:TEST' . attributes(@attributes) . "/>\n";
            next;
        }
        print $out '    <XROD:TEST' . attributes(@attributes) . ">\n";
        for my $failure (@failures) {
            my ($element, $key) = $failure->{kind} eq 'C' ? ('CHECK', 'variable') : ('STUB', 'function');
            print $out "      <XROD:$element"
                . attributes($key => $failure->{name}, expected => $failure->{expected}, obtained => $failure->{obtained},
                             file => $script, line => $failure->{line}) . "/>\n";
        }
        print $out "    </XROD:TEST>\n";
    }
    print $out "  </XROD:NODE>\n</XROD:RESULT>\n";
    close($out) or die "cannot write the report $file: $!\n";
    return $state;
}

1;
