#!/usr/bin/perl
# The tag pass over one source file: the symbols of the file and of the files
# it includes, one line each, in the file "tags" of the current directory,
# which the studio reads when this script ends.
#
#   tags.pl ENVIRONMENT_FILE NAME
#
# The environment file gives $FILENAME, the file to analyse (relative to the
# current directory, the project's), and @INCLUDE_DIR_LIST, the directories
# searched for included files; a quoted name is looked for beside the
# including file and in the current directory first. Included
# files are found by this script, recursively; system headers that none of
# these directories holds are left out. The symbols come from ctags
# (universal-ctags, on PATH or named by $CTAGS in the environment file).
#
# Each line is
#   NAME TAB FILE TAB LINE ;" TAB KIND [TAB FIELD:VALUE]...
# as share/doc/tags.md describes. What comes from where:
#   NAME, FILE, LINE       ctags, with --excmd=number; FILE as this script
#                          named it to ctags: relative to the current
#                          directory, or absolute for a file outside it
#   KIND                   ctags's long kind name, mapped: in C++, "struct"
#                          and "union" become "class" (they may have
#                          members); in C, "union" becomes "struct"
#   namespace:, class:,    ctags's scope field, as it prints it; the scopes
#   struct:, union:        of struct and union members stay as ctags names
#                          them, since the reader takes them as classes
#   access:                ctags's access field (public, protected, private)
#   implementation:        made from ctags's C++ "properties" field: "pure"
#                          gives "pure virtual", otherwise "virtual"
#   signature:             ctags's signature field
#   inherits:, file:       ctags's inherits and file-scope fields
# Symbols whose name holds a tab or a comma (operator,) are left out: the
# tag file has no quoting for them.

use strict;
use warnings;
use Cwd qw(getcwd);
use File::Basename qw(dirname);
use File::Spec;
use Velmont::Env qw(load_environment);

my ($environment, $name) = @ARGV;
die "usage: tags.pl ENVIRONMENT_FILE NAME\n" unless defined $environment;
load_environment($environment);

no strict 'vars';
no warnings 'once';
my $file = $main::FILENAME;
my @include_dirs = defined *main::INCLUDE_DIR_LIST{ARRAY} ? @main::INCLUDE_DIR_LIST : ();
my $ctags = (defined $main::CTAGS && length $main::CTAGS) ? $main::CTAGS : 'ctags';
use strict 'vars';

die "tags.pl: no file to analyse (\$FILENAME is empty)\n" unless defined $file && length $file;
die "$file:1: tags.pl: no such file\n" unless -f $file;

my $cwd = getcwd();

# A path as the tag file names it: relative to the project when inside it.
sub project_path {
    my ($path) = @_;
    my $absolute = File::Spec->rel2abs($path, $cwd);
    $absolute = File::Spec->canonpath($absolute);
    # Drop "dir/.." pairs that canonpath leaves.
    1 while $absolute =~ s{/(?!\.\.(?:/|$))[^/]+/\.\.(?=/|$)}{};
    my $relative = File::Spec->abs2rel($absolute, $cwd);
    return $relative =~ m{^\.\.(?:/|$)} ? $absolute : $relative;
}

# The files that $path includes and that can be found, in the order of
# their #include lines.
sub includes_of {
    my ($path) = @_;
    open(my $in, '<', $path) or return ();
    my @found;
    while (my $line = <$in>) {
        next unless $line =~ /^\s*#\s*include\s*([<"])([^>"]+)[>"]/;
        my ($quote, $included) = ($1, $2);
        if (File::Spec->file_name_is_absolute($included)) {
            push @found, project_path($included) if -f $included;
            next;
        }
        my @search = @include_dirs;
        # A quoted name is looked for beside the including file first, then
        # from the project's directory, where builds usually start.
        unshift @search, dirname($path), '.' if $quote eq '"';
        for my $dir (@search) {
            my $candidate = File::Spec->catfile($dir, $included);
            if (-f $candidate) {
                push @found, project_path($candidate);
                last;
            }
        }
    }
    close $in;
    return @found;
}

my @files;
my %seen;
my @queue = (project_path($file));
while (@queue) {
    my $next = shift @queue;
    next if $seen{$next}++;
    push @files, $next;
    push @queue, includes_of($next);
}
# The included files first, so that the declarations stand before the
# definitions that look for them.
@files = (reverse(@files[1 .. $#files]), $files[0]);

my $c_project = $file =~ /\.c$/;
my @command = ($ctags, '-f', '-', '--excmd=number', '--sort=no', '--extras=-p',
               '--fields=+KSai-kt', '--fields-C++=+{properties}',
               '--kinds-C=fpsu', '--kinds-C++=cfpsun');
# Headers of a C file are read as C, whose structures have no methods.
push @command, '--map-C=+.h', '--map-C++=-.h' if $c_project;

open(my $tags, '>', 'tags') or die "tags: $!\n";
print $tags "!_TAG_FILE_FORMAT\t2\t/line numbers, studio fields/\n";
my $pid = open(my $from, '-|');
die "tags.pl: cannot start $ctags: $!\n" unless defined $pid;
if (!$pid) {
    exec(@command, @files) or die "tags.pl: cannot start $ctags: $!\n";
}
my $count = 0;
while (my $line = <$from>) {
    chomp $line;
    next if $line =~ /^!/;
    my ($symbol, $path, $address, $kind, @fields) = split /\t/, $line;
    next unless defined $kind && $address =~ /^(\d+);"$/;
    next if $symbol =~ /,/;
    my $cpp = $path !~ /\.c$/ && !$c_project;
    if ($cpp) {
        $kind = 'class' if $kind eq 'struct' || $kind eq 'union';
    } else {
        $kind = 'struct' if $kind eq 'union';
    }
    my @out;
    for my $field (@fields) {
        if ($field =~ /^properties:(.*)$/) {
            my %property = map { $_ => 1 } split /,/, $1;
            push @out, 'implementation:pure virtual' if $property{pure};
            push @out, 'implementation:virtual' if $property{virtual} && !$property{pure};
            next;
        }
        push @out, $field;
    }
    print $tags join("\t", $symbol, $path, "$address", $kind, @out), "\n";
    $count++;
}
close $from;
my $status = $? >> 8;
$status = 1 if $? & 127;
close $tags or die "tags: $!\n";
print "$file: $count tag(s) in ", scalar(@files), " file(s)\n";
exit $status;
