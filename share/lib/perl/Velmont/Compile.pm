package Velmont::Compile;

# Compiler command lines from the port and the settings of the step, and the
# compilation of one source into the intermediate directory.

use strict;
use warnings;
use Exporter 'import';
use File::Basename qw(basename fileparse);
use File::Path qw(make_path);
use File::Spec;
use Text::ParseWords qw(shellwords);
use Velmont::Log qw(log_file);
use Velmont::Run qw(run_tool);

our @EXPORT_OK = qw(compile_source compile_flags runtime_source print_compile_command setting setting_list
                    intermediate_dir);

# The environment file's variables, by name.
no strict 'refs';

sub setting {
    my ($name) = @_;
    my $value = ${"main::$name"};
    return defined $value ? $value : '';
}

sub setting_list {
    my ($name) = @_;
    return defined *{"main::$name"}{ARRAY} ? @{"main::$name"} : ();
}

# The intermediate directory, from the step's working directory.
sub intermediate_dir {
    my $dir = setting('INTDIR');
    $dir = '.' unless length $dir;
    return File::Spec->rel2abs($dir);
}

# Preprocessor and compiler options, then the include directories. A
# configuration starts from its port's defaults, so the settings hold them.
sub compile_flags {
    my @flags;
    push @flags, shellwords(setting('CPPFLAGS'));
    push @flags, shellwords(setting('CFLAGS'));
    push @flags, map { '-I' . File::Spec->rel2abs($_) } grep { length } setting_list('INCLUDE_DIR_LIST');
    return @flags;
}

# What the instrumented program is compiled with: the function hooks report
# every entry and exit (and the functions reached), gcc's own coverage the
# lines and branches at the end of the run.
sub instrumentation_flags {
    return () unless setting('CODE_INSERTION');
    my ($coverage, $trace) = (setting('ZTCMODE'), setting('ZTTMODE'));
    my @flags;
    push @flags, '-finstrument-functions' if $coverage || $trace;
    push @flags, '--coverage' if $coverage;
    return @flags;
}

sub runtime_source {
    my $home = setting('ZENTAHOME');
    return File::Spec->catfile($home, 'lib', 'runtime', 'velmont_rt.c');
}

sub object_name {
    my ($port, $file, $dir) = @_;
    my ($base) = fileparse($file, qr/\.[^.]*/);
    my $extension = setting('OBJEXT');
    $extension = $port->{OBJEXT} // 'o' unless length $extension;
    return File::Spec->catfile($dir, "$base.$extension");
}

# The run-time library an instrumented program links, compiled once into the
# intermediate directory and again only when its source is newer. A program
# with line coverage takes the variant that asks gcc's library for its data.
sub compile_runtime {
    my ($port, $dir, $coverage) = @_;
    my $source = runtime_source();
    die "the run-time library $source is missing from the installation\n" unless -f $source;
    my $object = File::Spec->catfile($dir, ($coverage ? 'velmont_rtcov.' : 'velmont_rt.') . ($port->{OBJEXT} // 'o'));
    if (!-f $object || -M $object > -M $source) {
        # Plain C compiled by the C compiler, whatever the language of the port.
        my $compiler = $port->{RUNTIME_COMPILER} // 'gcc';
        my @variant = $coverage ? ('-DVELMONT_RT_COVERAGE') : ();
        my $status = run_tool($compiler, '-c', '-g', '-O1', '-fPIC', '-fno-instrument-functions', @variant,
                              $source, '-o', $object);
        return $status if $status;
    }
    log_file('OBJ', $object);
    return 0;
}

# The node's file, the object it compiles to and the whole command, from the
# settings alone: the compile and a report of it must not differ.
sub compile_command {
    my ($port) = @_;
    my $file = setting('FILENAME');
    die "no source file is given\n" unless length $file;
    die "$file: no such source file\n" unless -f $file;
    my $compiler = $port->{COMPILER};
    die "the Target Deployment Port $port->{DIRECTORY} names no COMPILER\n" unless defined $compiler && length $compiler;
    my $object = object_name($port, $file, intermediate_dir());
    return ($file, $object, $compiler, compile_flags(), instrumentation_flags(), '-c', $file, '-o', $object,
            dependency_options($compiler, $object));
}

# The headers that the compile read, as a make rule beside the object: the
# studio takes them for the source's dependencies, which decide the next
# build. Compilers that write no such rule get no option.
sub dependency_options {
    my ($compiler, $object) = @_;
    return () unless basename($compiler) =~ /(?:gcc|g\+\+|clang|clang\+\+|\bcc|c\+\+)(?:-[\d.]+)?$/;
    return ('-MMD', '-MF', rule_name($object));
}

sub rule_name {
    my ($object) = @_;
    (my $rule = $object) =~ s/\.[^.\/]*$/.d/;
    return $rule;
}

# One entry of a compilation database for the node's file, on one line;
# nothing is compiled and no directory is made.
sub print_compile_command {
    my ($port) = @_;
    require Cwd;
    require JSON::PP;
    my ($file, $object, @command) = compile_command($port);
    print JSON::PP->new->canonical->encode({
        directory => Cwd::getcwd(),
        file => File::Spec->rel2abs($file),
        output => $object,
        arguments => \@command,
    }), "\n";
    return 0;
}

# Compiles the node's file; the status of the step.
sub compile_source {
    my ($port) = @_;
    my ($file, $object, @command) = compile_command($port);
    if (setting('STAGE') !~ /c/) {
        print "compilation is not selected\n";
        return 0;
    }
    my $dir = intermediate_dir();
    make_path($dir, { error => \my $errors });
    die "cannot make the intermediate directory $dir\n" unless -d $dir;

    my @instrumentation = instrumentation_flags();
    # An object of an earlier run must not pass for this one's.
    unlink $object;
    my $rule = rule_name($object);
    unlink $rule;
    my $status = run_tool(@command);
    return $status if $status;
    log_file('OBJ', $object);
    log_file('DEP', $rule) if -f $rule;
    my $coverage = grep { $_ eq '--coverage' } @instrumentation;
    if ($coverage) {
        (my $notes = $object) =~ s/\.[^.\/]*$/.gcno/;
        log_file('GCN', $notes) if -f $notes;
    }
    return @instrumentation ? compile_runtime($port, $dir, $coverage) : 0;
}

1;
