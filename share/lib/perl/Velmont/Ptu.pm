package Velmont::Ptu;

# The component test language for C: the reader of a ".ptu" script and the
# writer of the C test harness made from it. share/doc/component-tests.md
# describes the language.

use strict;
use warnings;
use Exporter 'import';
use File::Basename qw(basename);

our @EXPORT_OK = qw(parse_script parse_file write_harness analysis_text c_string);

my $NAME = qr/[A-Za-z_][A-Za-z0-9_]*/;
# The calls whose arguments and return values a stub keeps: VT_STUB_CALLS of
# the harness's run-time.
my $STUB_CALLS = 64;

# A parse error: "file:line: error: text", the form the console finds.
sub fail {
    my ($file, $line, $text) = @_;
    die "$file:$line: error: $text\n";
}

sub parse_file {
    my ($file) = @_;
    open(my $in, '<', $file) or die "$file: cannot read the test script: $!\n";
    my @lines = <$in>;
    close($in);
    return parse_script($file, @lines);
}

# The script as a tree: includes, code blocks, stubs, services with their
# tests. Dies on the first error with its file and line.
sub parse_script {
    my ($file, @lines) = @_;
    my $script = { file => $file, includes => [], code => [], stubs => [], stub_by_name => {},
                   services => [], limit => 10, families => [] };
    my $n = 0;
    my $next = sub {
        while ($n < @lines) {
            my $text = $lines[$n++];
            $text =~ s/\r?\n\z//;
            next if $text =~ /^\s*(--.*)?$/;
            $text =~ s/^\s+|\s+$//g;
            return ($n, $text);
        }
        return;
    };
    # The C lines of a block up to its "end", as they stand.
    my $block = sub {
        my ($opened) = @_;
        my @body;
        while ($n < @lines) {
            my $text = $lines[$n++];
            $text =~ s/\r?\n\z//;
            return { line => $opened + 1, text => [@body] } if $text =~ /^\s*end\s*$/;
            push @body, $text;
        }
        fail($file, $opened, "the block opened here has no \"end\"");
    };

    my ($service, $test);
    while (my ($line, $text) = $next->()) {
        my ($word, $rest) = $text =~ /^(\S+)\s*(.*)$/;
        if ($test) {
            if ($word eq 'end' && $rest eq '') {
                $test = undef;
            } else {
                push @{ $test->{steps} }, parse_step($script, $file, $line, $word, $rest, $block);
            }
        } elsif ($service) {
            if ($word eq 'end' && $rest eq '') {
                fail($file, $service->{line}, "service $service->{name} has no test") unless @{ $service->{tests} };
                $service = undef;
            } elsif ($word eq 'before' && $rest eq '') {
                fail($file, $line, "service $service->{name} has a \"before\" block already") if $service->{before};
                $service->{before} = $block->($line);
            } elsif ($word eq 'test') {
                my ($name, $family) = $rest =~ /^($NAME)(?:\s+family\s+($NAME))?$/
                    or fail($file, $line, "expected \"test NAME [family FAMILY]\"");
                fail($file, $line, "test $name is already in service $service->{name}")
                    if grep { $_->{name} eq $name } @{ $service->{tests} };
                $family //= 'nominal';
                $test = { name => $name, family => $family, line => $line, steps => [] };
                push @{ $service->{tests} }, $test;
                push @{ $script->{families} }, $family unless grep { $_ eq $family } @{ $script->{families} };
            } else {
                fail($file, $line, "expected \"test\", \"before\" or \"end\" in service $service->{name}, not \"$word\"");
            }
        } elsif ($word eq 'service') {
            my ($name) = $rest =~ /^($NAME)$/ or fail($file, $line, "expected \"service NAME\"");
            fail($file, $line, "service $name is defined twice") if grep { $_->{name} eq $name } @{ $script->{services} };
            $service = { name => $name, line => $line, tests => [] };
            push @{ $script->{services} }, $service;
        } elsif ($word eq 'include') {
            $rest =~ /^("[^"]+"|<[^>]+>)$/ or fail($file, $line, "expected \"include \\\"header.h\\\"\" or \"include <header.h>\"");
            push @{ $script->{includes} }, $rest;
        } elsif ($word eq 'code' && $rest eq '') {
            push @{ $script->{code} }, $block->($line);
        } elsif ($word eq 'stub') {
            my $stub = parse_stub($file, $line, $rest);
            fail($file, $line, "function $stub->{name} is stubbed twice") if $script->{stub_by_name}{ $stub->{name} };
            push @{ $script->{stubs} }, $stub;
            $script->{stub_by_name}{ $stub->{name} } = $stub;
        } elsif ($word eq 'limit') {
            $rest =~ /^([1-9]\d{0,4})$/ or fail($file, $line, "expected \"limit SECONDS\"");
            $script->{limit} = $1;
        } else {
            fail($file, $line, "unknown statement \"$word\"");
        }
    }
    fail($file, $test->{line}, "test $test->{name} has no \"end\"") if $test;
    fail($file, $service->{line}, "service $service->{name} has no \"end\"") if $service;
    fail($file, scalar(@lines) || 1, "the script has no service") unless @{ $script->{services} };
    return $script;
}

# "int hw_write(int reg, int value)": the return type, the name and the
# parameters, each with its type and name.
sub parse_stub {
    my ($file, $line, $text) = @_;
    my ($type, $name, $list) = $text =~ /^(.*?)\b($NAME)\s*\((.*)\)\s*;?$/
        or fail($file, $line, "expected \"stub TYPE NAME(PARAMETERS)\"");
    $type =~ s/\s+$//;
    fail($file, $line, "stub $name has no return type") if $type eq '';
    my @params;
    if ($list !~ /^\s*(void)?\s*$/) {
        for my $param (split_top($list)) {
            # An array parameter is a pointer: that is what the stub keeps.
            (my $kept = $param) =~ s/\[\s*\d*\s*\]\s*$//;
            my $pointer = $kept ne $param;
            my ($ptype, $pname) = $kept =~ /^(.*?[\s*])($NAME)\s*$/
                or fail($file, $line, "parameter \"$param\" of stub $name has no name");
            $ptype =~ s/\s+$//;
            $ptype .= ' *' if $pointer;
            push @params, { type => $ptype, name => $pname };
        }
    }
    return { name => $name, type => $type, params => \@params, line => $line };
}

# One statement of a test.
sub parse_step {
    my ($script, $file, $line, $word, $rest, $block) = @_;
    if ($word eq 'var') {
        fail($file, $line, "expected \"var DECLARATION\"") if $rest eq '';
        (my $decl = $rest) =~ s/;?\s*$/;/;
        return { kind => 'c', line => $line, text => ["    $decl"] };
    }
    if ($word eq 'code' && $rest eq '') {
        my $code = $block->($line);
        return { kind => 'c', line => $code->{line}, text => $code->{text} };
    }
    if ($word eq 'call') {
        fail($file, $line, "expected \"call EXPRESSION\"") if $rest eq '';
        (my $call = $rest) =~ s/;?\s*$/;/;
        return { kind => 'c', line => $line, text => ["    $call"] };
    }
    if ($word eq 'init') {
        my ($target, $value) = split_assignment($rest) or fail($file, $line, "expected \"init VARIABLE = VALUE\"");
        return { kind => 'init', line => $line, target => $target, values => values_of($file, $line, $value) };
    }
    if ($word eq 'check') {
        if (my ($target, $low, $high) = $rest =~ /^(.+?)\s+in\s+(.+?)\s*\.\.\s*(.+)$/) {
            return { kind => 'range', line => $line, target => $target, low => $low, high => $high };
        }
        my ($target, $value) = split_assignment($rest)
            or fail($file, $line, "expected \"check VARIABLE = VALUE\" or \"check VARIABLE in LOW .. HIGH\"");
        my $tolerance;
        ($value, $tolerance) = ($1, $2) if $value =~ /^(.+?)\s+within\s+(.+)$/;
        return { kind => 'check', line => $line, target => $target, values => values_of($file, $line, $value),
                 tolerance => $tolerance };
    }
    if ($word eq 'calls') {
        my ($name, $count, $returns) = $rest =~ /^($NAME)\s+(\d+)(?:\s+returns\s+(.+))?$/
            or fail($file, $line, "expected \"calls FUNCTION COUNT [returns VALUE, ...]\"");
        my $stub = $script->{stub_by_name}{$name} or fail($file, $line, "function $name has no stub");
        fail($file, $line, "stub $name returns nothing") if defined $returns && $stub->{type} eq 'void';
        my @returns = defined $returns ? split_top($returns) : ();
        fail($file, $line, "a stub takes at most $STUB_CALLS return values") if @returns > $STUB_CALLS;
        return { kind => 'calls', line => $line, stub => $stub, count => $count, returns => \@returns };
    }
    if ($word eq 'args') {
        my ($name, $call, $values) = $rest =~ /^($NAME)\s+(\d+)\s*=\s*(.+)$/
            or fail($file, $line, "expected \"args FUNCTION CALL = VALUE, ...\"");
        my $stub = $script->{stub_by_name}{$name} or fail($file, $line, "function $name has no stub");
        my @values = split_top($values);
        fail($file, $line, "stub $name takes " . scalar(@{ $stub->{params} }) . " argument(s), not " . scalar(@values))
            unless @values == @{ $stub->{params} };
        fail($file, $line, "calls are counted from 1 to $STUB_CALLS") unless $call >= 1 && $call <= $STUB_CALLS;
        return { kind => 'args', line => $line, stub => $stub, call => $call, values => \@values };
    }
    fail($file, $line, "unknown statement \"$word\" in a test");
}

# "a.b[2] = 5" into the variable and the value; "==", "<=" and the like do
# not split.
sub split_assignment {
    my ($text) = @_;
    return unless $text =~ /^(.*?[^=!<>\s])\s*=(?!=)\s*(.+)$/;
    return ($1, $2);
}

# A value, or "{a, b, c}" for the elements of an array.
sub values_of {
    my ($file, $line, $value) = @_;
    if ($value =~ /^\{(.*)\}$/) {
        my @elements = split_top($1);
        fail($file, $line, "an empty list of values") unless @elements;
        return \@elements;
    }
    return $value;
}

# Splits at the commas that stand outside brackets and quotes.
sub split_top {
    my ($text) = @_;
    my (@parts, $depth, $quote, $current);
    ($depth, $current) = (0, '');
    for my $char (split //, $text) {
        if ($quote) {
            $quote = undef if $char eq $quote && $current !~ /\\$/;
        } elsif ($char eq '"' || $char eq "'") {
            $quote = $char;
        } elsif ($char =~ /[(\[{]/) {
            $depth++;
        } elsif ($char =~ /[)\]}]/) {
            $depth--;
        } elsif ($char eq ',' && $depth == 0) {
            push @parts, $current;
            $current = '';
            next;
        }
        $current .= $char;
    }
    push @parts, $current;
    s/^\s+|\s+$//g for @parts;
    return grep { length } @parts;
}

sub c_string {
    my ($text) = @_;
    $text =~ s/(["\\])/\\$1/g;
    $text =~ s/\t/\\t/g;
    return "\"$text\"";
}

# ---------------------------------------------------------------------------
# The harness

# The harness's C text, to be written to $harness_file. $selected answers
# whether "service.test" of a family runs.
sub write_harness {
    my ($script, $selected, $harness_file) = @_;
    my @out;
    my $file = $script->{file};
    my $harness = c_string($harness_file);
    # Every line of the script's own C goes under its script line, so that a
    # compiler's message and the debugger point at the script.
    my $at_script = sub { push @out, "#line $_[0] " . c_string($file) };
    my $at_harness = sub { push @out, '#line ' . (scalar(@out) + 2) . " $harness" };

    push @out, '/* The test harness of ' . basename($file) . ', made from the script: edit the script, not this file. */',
        '#include "velmont_ut.h"', '#include <string.h>';
    for my $include (@{ $script->{includes} }) {
        push @out, "#include $include";
    }
    for my $code (@{ $script->{code} }) {
        $at_script->($code->{line});
        push @out, @{ $code->{text} };
        $at_harness->();
    }

    # The stubs: each records its calls and answers the values it was given.
    for my $stub (@{ $script->{stubs} }) {
        my ($name, $type, $params) = @$stub{qw(name type params)};
        push @out, '', "/* stub of $name */", 'static struct {', '    int calls, expected, line;';
        push @out, "    $type returns[VT_STUB_CALLS];", '    int returned;' if $type ne 'void';
        if (@$params) {
            push @out, '    struct {';
            push @out, map { "        $_->{type} $_->{name};" } @$params;
            push @out, '    } args[VT_STUB_CALLS];';
        }
        push @out, "} ${name}_stub;";
        my $list = @$params ? join(', ', map { "$_->{type} $_->{name}" } @$params) : 'void';
        $at_script->($stub->{line});
        push @out, "$type $name($list)";
        $at_harness->();
        push @out, '{', "    int call = ${name}_stub.calls++;";
        push @out, '    (void)call;' unless @$params || $type ne 'void';
        if (@$params) {
            push @out, '    if (call < VT_STUB_CALLS) {';
            push @out, map { "        ${name}_stub.args[call].$_->{name} = $_->{name};" } @$params;
            push @out, '    }';
        }
        if ($type ne 'void') {
            push @out, "    if (${name}_stub.returned == 0) {", "        $type zero;",
                '        memset(&zero, 0, sizeof zero);', '        return zero;', '    }',
                "    return ${name}_stub.returns[call < ${name}_stub.returned ? call : ${name}_stub.returned - 1];";
        }
        push @out, '}';
    }
    push @out, '', 'static void vt_reset_stubs(void)', '{';
    for my $stub (@{ $script->{stubs} }) {
        push @out, "    memset(&$stub->{name}_stub, 0, sizeof $stub->{name}_stub);", "    $stub->{name}_stub.expected = -1;";
    }
    push @out, '}', '', 'static void vt_check_stubs(void)', '{';
    for my $stub (@{ $script->{stubs} }) {
        my $s = "$stub->{name}_stub";
        push @out, "    if ($s.expected >= 0)", "        vt_stub_count(\"$stub->{name}\", $s.expected, $s.calls, $s.line);";
    }
    push @out, '}';

    # The tests, one function each.
    my (@table, $index);
    for my $service (@{ $script->{services} }) {
        for my $test (@{ $service->{tests} }) {
            my $function = 'vt_test_' . ++$index;
            push @out, '', "/* $service->{name}.$test->{name}, family $test->{family} */", "static void $function(void)", '{',
                '    vt_reset_stubs();';
            if (my $before = $service->{before}) {
                $at_script->($before->{line});
                push @out, @{ $before->{text} };
            }
            push @out, step_code($_, $file) for @{ $test->{steps} };
            $at_harness->();
            push @out, '    vt_check_stubs();', '}';
            my $run = $selected->("$service->{name}.$test->{name}", $test->{family}) ? 1 : 0;
            push @table, sprintf('    {%s, %s, %s, %d, %s, %d},', c_string($service->{name}), c_string($test->{name}),
                                 c_string($test->{family}), $test->{line}, $function, $run);
        }
    }
    push @out, '', 'static const vt_test vt_tests[] = {', @table, '};', '',
        'int main(int argc, char** argv)', '{',
        '    return vt_main(argc, argv, ' . c_string($file) . ', vt_tests, sizeof vt_tests / sizeof vt_tests[0], '
        . "$script->{limit});", '}', '';
    return join("\n", @out);
}

sub step_code {
    my ($step, $file) = @_;
    my @code;
    my $kind = $step->{kind};
    my $line = $step->{line};
    # The script line again, as the debugger and the compiler see it.
    my @mark = ("#line $line " . c_string($file));
    return (@mark, @{ $step->{text} }) if $kind eq 'c';
    if ($kind eq 'init') {
        my $values = $step->{values};
        return (@mark, "    $step->{target} = $values;") unless ref $values;
        return (@mark, map { "    $step->{target}\[$_\] = $values->[$_];" } 0 .. $#$values);
    }
    if ($kind eq 'check') {
        my $values = $step->{values};
        my @pairs = ref $values ? map { ["$step->{target}\[$_\]", $values->[$_]] } 0 .. $#$values
                                : ([$step->{target}, $values]);
        for my $pair (@pairs) {
            my ($target, $value) = @$pair;
            if (defined $step->{tolerance}) {
                push @code, "    vt_check_near(" . c_string($target) . ", $target, $value, $step->{tolerance}, "
                    . c_string("$value within $step->{tolerance}") . ", $line);";
            } else {
                push @code, "    VT_CHECK(" . c_string($target) . ", $target, $value, " . c_string($value) . ", $line);";
            }
        }
        return (@mark, @code);
    }
    if ($kind eq 'range') {
        return (@mark, "    VT_RANGE(" . c_string($step->{target}) . ", $step->{target}, $step->{low}, $step->{high}, "
                . c_string("$step->{low} .. $step->{high}") . ", $line);");
    }
    my $stub = $step->{stub};
    my $s = "$stub->{name}_stub";
    if ($kind eq 'calls') {
        my @returns = @{ $step->{returns} };
        push @code, "    $s.expected = $step->{count};", "    $s.line = $line;";
        push @code, "    $s.returned = " . scalar(@returns) . ';' if @returns || $stub->{type} ne 'void';
        push @code, map { "    $s.returns[$_] = $returns[$_];" } 0 .. $#returns;
        return (@mark, @code);
    }
    # args: the arguments of one recorded call.
    my $call = $step->{call} - 1;
    push @code, "    if ($s.calls <= $call)",
        "        vt_stub_missing(" . c_string($stub->{name}) . ", $step->{call}, $s.calls, $line);", '    else {';
    for my $i (0 .. $#{ $stub->{params} }) {
        my $param = $stub->{params}[$i]{name};
        my $value = $step->{values}[$i];
        push @code, "        VT_CHECK(" . c_string("$stub->{name}#$step->{call}.$param") . ", $s.args[$call].$param, $value, "
            . c_string($value) . ", $line);";
    }
    push @code, '    }';
    return (@mark, @code);
}

# ---------------------------------------------------------------------------
# The analysis result

sub res_string {
    my ($text) = @_;
    $text =~ s/([\x00-\x1f"&\x80-\xff])/sprintf('&#%02X;', ord $1)/ge;
    return "\"$text\"";
}

# The families and the services with their tests, as resource text.
sub analysis_text {
    my ($script) = @_;
    my @tree;
    for my $service (@{ $script->{services} }) {
        push @tree, res_string($service->{name}),
            '(' . join(', ', map { res_string($_->{name}) } @{ $service->{tests} }) . ')';
    }
    return "SPG_FILE {\n"
        . '  FAMILY_LIST = (' . join(', ', map { res_string($_) } @{ $script->{families} }) . ");\n"
        . '  SERVICE_TREE = (' . join(', ', @tree) . ");\n" . "}\n";
}

1;
