#!/usr/bin/env python3
"""Compares the cyclomatic number of the metrics tool with pmccabe's traditional
count (its second column), function by function, over the C sources of a tree.

    metrics_vs_pmccabe.py TOOL SOURCE_DIR [WORK_DIR] [--list N] [--time]

A function is matched by its file and the line of its name. Prints how many of
pmccabe's functions the tool gives the same number, how many it gives another
(with the first N of them), and how many it does not see; with --time, also
the seconds each program took over the same files and the lines per second.
The exit status is 1 when fewer than 95% of pmccabe's functions agree.
"""
import os
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree as ET


def sources(root):
    found = []
    for directory, _, files in os.walk(root):
        found.extend(os.path.join(directory, name) for name in files if name.endswith('.c'))
    return sorted(found)


def chunks(items, size=200):
    for i in range(0, len(items), size):
        yield items[i:i + size]


def run_pmccabe(files):
    figures = {}
    for part in chunks(files):
        out = subprocess.run(['pmccabe'] + part, capture_output=True, text=True).stdout
        for row in out.splitlines():
            columns = row.split('\t')
            if len(columns) < 6:
                continue
            place, _, name = columns[5].partition(': ')
            path, _, line = place.rpartition('(')
            figures[(os.path.abspath(path), int(line.rstrip(')')))] = (int(columns[1]), name)
    return figures


def run_tool(tool, root, files, work):
    options = ['-q', '-d', work, '-I', root, '-I', os.path.join(root, 'lib'), '-DHAVE_CONFIG_H']
    for part in chunks(files):
        subprocess.run([tool] + options + part, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    figures = {}
    for path in files:
        metrics = os.path.join(work, os.path.basename(path) + '.met')
        try:
            document = ET.parse(metrics).getroot()
        except (OSError, ET.ParseError):
            continue
        directory = document.get('Dir')
        source = os.path.join(directory, document.get('Name'))
        if os.path.abspath(source) != os.path.abspath(path):
            continue  # a file of the same name elsewhere wrote over it; measured alone below
        for item in document.iter():
            vg = item.find('METRICS/METRIC[@Key="VG"]')
            if vg is not None:
                figures[(os.path.abspath(path), int(item.get('Line')))] = (int(float(vg.get('Value'))), item.get('Name'))
    return figures


def main(argv):
    positional = [a for a in argv[1:] if not a.startswith('--')]
    listed = int(argv[argv.index('--list') + 1]) if '--list' in argv else 20
    positional = [a for a in positional if a != str(listed)] if '--list' in argv else positional
    tool, root = os.path.abspath(positional[0]), os.path.abspath(positional[1])
    work = positional[2] if len(positional) > 2 else tempfile.mkdtemp(prefix='metrics-')
    files = sources(root)
    lines = sum(sum(1 for _ in open(f, 'rb')) for f in files)

    started = time.perf_counter()
    theirs = run_pmccabe(files)
    pmccabe_seconds = time.perf_counter() - started
    # Files of one name write one metrics file: each name gets a directory.
    started = time.perf_counter()
    ours = {}
    by_name = {}
    for path in files:
        by_name.setdefault(os.path.basename(path), []).append(path)
    rounds = max(len(paths) for paths in by_name.values())
    for index in range(rounds):
        batch = [paths[index] for paths in by_name.values() if index < len(paths)]
        directory = os.path.join(work, str(index))
        os.makedirs(directory, exist_ok=True)
        ours.update(run_tool(tool, root, batch, directory))
    tool_seconds = time.perf_counter() - started

    equal = [key for key in theirs if key in ours and ours[key][0] == theirs[key][0]]
    different = [key for key in theirs if key in ours and ours[key][0] != theirs[key][0]]
    missing = [key for key in theirs if key not in ours]
    total = len(theirs)
    print(f'files: {len(files)}, lines: {lines}')
    print(f'pmccabe functions: {total}, tool functions: {len(ours)}')
    print(f'same VG: {len(equal)} ({100.0 * len(equal) / total:.2f}%)')
    print(f'other VG: {len(different)}')
    print(f'not seen by the tool: {len(missing)}')
    for key in different[:listed]:
        print(f'  {os.path.relpath(key[0], root)}:{key[1]} {theirs[key][1]}: pmccabe {theirs[key][0]}, tool {ours[key][0]}')
    for key in missing[:listed]:
        print(f'  {os.path.relpath(key[0], root)}:{key[1]} {theirs[key][1]}: not seen')
    if '--time' in argv:
        print(f'pmccabe: {pmccabe_seconds:.2f} s, {lines / pmccabe_seconds:.0f} lines/s')
        print(f'tool: {tool_seconds:.2f} s, {lines / tool_seconds:.0f} lines/s')
    return 0 if len(equal) >= 0.95 * total else 1


if __name__ == '__main__':
    sys.exit(main(sys.argv))
