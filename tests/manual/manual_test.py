#!/usr/bin/env python3
"""Compares the manual pages and the completions with what the command's own --help lists.

Usage: manual_test.py pages|bash|zsh|fish KVX MANUAL_FOLDER VERSION
Exit status 75: what it takes is not installed.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

SUBJECT, KVX, MANUAL, VERSION = sys.argv[1], *map(os.path.abspath, sys.argv[2:4]), sys.argv[4]
failures = []


def check(what, have, want):
    if have != want:
        failures.append(f'{what}: {have!r} instead of {want!r}')


def need(program):
    if not shutil.which(program):
        print(f'SKIPPED: {program} is not installed')
        sys.exit(75)


def run(*command, **options):
    return subprocess.run(command, text=True, capture_output=True, timeout=120, **options)


def help_of(*command):
    """What help lists: names of options with their values' names, and commands."""
    text = run(KVX, *command, '--help').stdout
    part = ''
    options, commands = {}, []
    for line in text.splitlines():
        if re.fullmatch(r'[A-Z]\w+:', line):
            part = line[:-1]
        elif part == 'Options' and (row := re.match(r'  (?:(-\w),)?(--[\w-]+)(?: (\S+))?', line)):
            value = row[3].split('=')[0] if row[3] and line[row.end(2):][:1] == ' ' else ''
            # Behind two spaces is the text, not a value.
            value = value if not line[row.end(2):].startswith('  ') else ''
            for name in filter(None, (row[1], row[2])):
                options[name] = value
        elif part == 'Subcommands' and (row := re.match(r'  (\w+)  ', line)):
            commands.append(row[1])
    return options, commands


GLOBAL, COMMANDS = help_of()
OPTIONS = {'': GLOBAL}
for each in COMMANDS:
    OPTIONS[each] = help_of(each)[0]
# What the parts below go by is itself known to be there.
assert len(COMMANDS) >= 9 and '--version' in GLOBAL and OPTIONS['frames']['--depth'] == 'N'
assert OPTIONS['info']['--json'] == '' and '-o' in OPTIONS['mend']


def section(page, name):
    return re.search(rf'^\.SH "?{name}"?\n(.*?)(?=^\.SH|\Z)', page, re.S | re.M)[1]


def entries(text):
    """The bold words of the terms in a list, each with the italic one behind them."""
    found = {}
    for term in re.findall(r'^\.TP\n(.*)', text, re.M):
        term = term.replace('\\-', '-')
        value = re.search(r'\\fI(.*?)\\fR', term)
        for name in re.findall(r'\\fB(.*?)\\fR', term):
            found[name] = value[1] if value else ''
    return found


def pages():
    need('man')
    for command in [''] + COMMANDS:
        name = f'kvx-{command}' if command else 'kvx'
        path = f'{MANUAL}/{name}.1'
        with open(path, encoding='utf-8') as file:
            page = file.read()
        check(f'{name}: options', entries(section(page, 'OPTIONS')), OPTIONS[command])
        if not command:
            check('kvx: commands', list(entries(section(page, 'COMMANDS'))), COMMANDS)
        check(f'{name}: version', f'"kvx {VERSION}"' in page.splitlines()[0], True)
        shown = run('man', '--warnings', '-E', 'UTF-8', '-l', path,
                    env={**os.environ, 'LC_ALL': 'C.UTF-8', 'MANWIDTH': '100'})
        check(f'{name}: what man has to say', (shown.returncode, shown.stderr), (0, ''))
        plain = re.sub(r'.\x08', '', shown.stdout)
        for option in OPTIONS[command]:
            check(f'{name}: {option} is shown', option in plain, True)
        if shutil.which('mandoc'):
            said = run('mandoc', '-Tlint', '-Wwarning', path).stdout.splitlines()
            # Pages bear no date, so that the same sources give the same pages.
            check(f'{name}: what mandoc has to say',
                  [line for line in said if 'missing date' not in line], [])
    want = {'kvx.1'} | {f'kvx-{command}.1' for command in COMMANDS}
    check('the pages', {name for name in os.listdir(MANUAL) if name.endswith('.1')}, want)


def bash(line, folder):
    words = line.split(' ')
    script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
              '_kvx kvx "${@: -1}" "${@: -2:1}"; [ ${#COMPREPLY[@]} -eq 0 ] || '
              "printf '%s\\n' \"${COMPREPLY[@]}\"")
    answer = run('bash', '--norc', '-c', script, 'bash', f'{MANUAL}/kvx.bash', *words, cwd=folder)
    check(f'bash: complaints about "{line}"', answer.stderr, '')
    return {word.rstrip('/') for word in answer.stdout.splitlines()}


def zsh(line, folder):
    helper = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'zsh_matches.zsh')
    answer = run('zsh', '-f', helper, MANUAL, line, cwd=folder)
    check(f'zsh: complaints about "{line}"', answer.stderr, '')
    # Names come as they are put into the line.
    return {word.replace('\\ ', ' ').rstrip('/') for word in answer.stdout.splitlines()}


def fish(line, folder):
    # The command itself need not be there to be completed.
    answer = run('fish', '--no-config', '-c', f'source {MANUAL}/kvx.fish; complete -C "{line}"',
                 cwd=folder, env={**os.environ, 'HOME': folder})
    check(f'fish: complaints about "{line}"', answer.stderr, '')
    return {word.split('\t')[0].rstrip('/') for word in answer.stdout.splitlines()}


def completions(shell, complete):
    need(shell)
    script = {'bash': 'kvx.bash', 'zsh': '_kvx', 'fish': 'kvx.fish'}[shell]
    syntax = run(shell, '-n', f'{MANUAL}/{script}')
    check('syntax', (syntax.returncode, syntax.stderr), (0, ''))
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(f'{folder}/reels')
        for name in ('one.mov', 'two words.MOV', 'three.qt', 'notes.txt'):
            open(f'{folder}/{name}', 'w', encoding='utf-8').close()
        files = {'reels', 'one.mov', 'two words.MOV', 'three.qt', 'notes.txt'}
        movies = files - {'notes.txt'}

        def offers(line, want):
            check(f'{shell}: "{line}"', complete(line, folder), set(want))

        offers('kvx ', COMMANDS + ['help'])
        offers('kvx help ', COMMANDS)
        for command, options in OPTIONS.items():
            start = f'kvx {command} ' if command else 'kvx '
            # A shell offers one-letter forms or not with a single dash; all offer the long ones.
            long = {name for name in options if name.startswith('--')}
            offers(start + '--', long)
            short = complete(start + '-', folder)
            check(f'{shell}: "{start}-" is nothing else', short - set(options), set())
            if shell != 'fish' or short:
                check(f'{shell}: "{start}-" has one letter each',
                      {name for name in options if len(name) == 2} <= short, True)
        offers('kvx frames --depth ', {'8', '16'})
        offers('kvx frames --every ', set())
        for line in ('kvx --module ', 'kvx mend -o ', 'kvx hash --compare '):
            offers(line, files)
        if shell == 'bash':
            offers('kvx frames --depth = 1', {'16'})
            offers('kvx --timeout 3 in', {'info'})
        check(f'{shell}: movies', movies <= complete('kvx info ', folder), True)
        if shell != 'fish':
            offers('kvx info ', movies)
            offers('kvx info n', {'notes.txt'} if shell == 'bash' else complete('kvx info n', folder))


if SUBJECT == 'pages':
    pages()
else:
    completions(SUBJECT, {'bash': bash, 'zsh': zsh, 'fish': fish}[SUBJECT])
for failure in failures:
    print(failure)
sys.exit(1 if failures else 0)
