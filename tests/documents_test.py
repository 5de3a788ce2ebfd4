#!/usr/bin/python3
"""usage: tests/documents_test.py BUILD

Runs the commands that README.md and docs/manifest.md show with their output, and compares. Of every other command in the documents it
checks that the script, the program and the options exist, and of every test that a document names that there is one."""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT, BUILD = Path(__file__).resolve().parents[1], Path(sys.argv[1]).resolve()
DOCUMENTS = [ROOT / 'README.md', ROOT / 'CONTRIBUTING.md', *sorted((ROOT / 'docs').glob('*.md'))]
COMMAND = re.compile(r'(?:scripts/|tests/[^ ]+[.](?:sh|py)|cmake |ctest |build/[^/ ]+/\w+ |build/[^/ ]+/\w+\.exe)')
wrong = []


def text_of(*patterns):
    return '\n'.join(path.read_text(errors='replace') for pattern in patterns for path in sorted(ROOT.glob(pattern)) if path.is_file())


CMAKE = text_of('CMakeLists.txt', '*/CMakeLists.txt', 'platform/*/CMakeLists.txt')
PRESETS = {preset['name'] for kind in json.loads((ROOT / 'CMakePresets.json').read_text()).values() if isinstance(kind, list)
           for preset in kind}
TESTS = text_of('tests/*/*.cpp')


def blocks(document):
    """The indented blocks of a document."""
    return [block.replace('\n    ', '\n').strip() for block in re.findall(r'(?:^    .*\n|(?<=\n)\n(?=    ))+', document, re.MULTILINE)]


def commands(document):
    text = '\n'.join([*(line for block in blocks(document) for line in block.split('\n')), *re.findall(r'`([^`\n]+)`', document)])
    for line in text.split('\n'):
        yield from (part.strip() for part in re.split(r'&&|;|   +', line) if COMMAND.match(part.strip()))


def source_of(program):
    """The text that must name each option of a program; none for a program that isn't there."""
    if program.startswith(('scripts/', 'tests/')):
        path = ROOT / program
        if not path.exists():
            return None
        return text_of(program, f'tools/{path.stem}/*.py') if path.suffix == '.sh' else program
    name = program.rsplit('/', 1)[1].removesuffix('.exe')
    known = re.search(rf'\b{name}\b', CMAKE) or (ROOT / 'tests' / name.removesuffix('_tests')).is_dir()
    return text_of(f'tools/{name}/*.cpp', f'platform/winhost/programs/{name}.cpp') + '--gtest_filter' if known else None


def check_command(document, command):
    program, *words = command.split()
    if program in ('cmake', 'ctest'):
        odd = [preset for preset in re.findall(r'--preset (\S+)', command) if preset not in PRESETS]
        odd += [name for names in re.findall(r'--target ([\w ]+)', command) for name in names.split()
                if not re.search(rf'\b{name}\b', CMAKE) and not (ROOT / 'tests' / name.removesuffix('_tests')).is_dir()]
    elif '<' in program:
        return
    elif (source := source_of(program)) is None:
        odd = [program]
    else:
        options = re.findall(r'(?<![\w-])--[a-z][\w-]*', command.partition(' -- ')[0])
        odd = [option for option in options if option not in source]
    wrong.extend(f'{document.name}: {command}: there is no {each}' for each in odd)


def faulty_package(folder):
    """The package whose findings README.md shows."""
    package = folder / 'package'
    shutil.copytree(BUILD / 'package', package)
    manifest = package / 'QtvUnInst.log'
    lines = manifest.read_bytes().split(b'\r\n')
    lines[16:16] = [b'File copy: readme-en.txt', b'File Copy: Samples\\logo.bmp']
    manifest.write_bytes(b'\r\n'.join(lines))
    return ['package']


SHOWN = {'package_check': faulty_package,
         'rehearse': lambda folder: [BUILD / 'package', '--earlier', BUILD / 'package-earlier']}


def check_output(document, block, shown, folder):
    """Each line that is shown must be in the output, in this order. "..." stands for any lines."""
    name = block.split()[0].rsplit('/', 1)[1]
    output = subprocess.run([BUILD / name, *SHOWN[name](folder)], cwd=folder, capture_output=True, text=True, check=False).stdout
    lines = iter(line.rstrip() for line in output.split('\n'))
    for line in shown.split('\n'):
        if line != '...' and not any(each == line.rstrip() for each in lines):
            wrong.append(f'{document.name}: {name} does not print (any more): {line}')
            return


def check_document(document, folder):
    text, command = document.read_text(), None
    for each in commands(text):
        check_command(document, each)
    for suite, test in re.findall(r'`([A-Z][a-z]\w+)\.([A-Z]\w+)`', text):
        if not re.search(rf'\b{suite}, {test}\b', TESTS):
            wrong.append(f'{document.name}: there is no test {suite}.{test}')
    for block in blocks(text):
        if COMMAND.match(block):
            command = block
        elif command and document.name in ('README.md', 'manifest.md') and not block.startswith('setup.exe'):
            check_output(document, command, block, folder)


with tempfile.TemporaryDirectory() as made:
    for each in DOCUMENTS:
        check_document(each, Path(made))
print('\n'.join(wrong))
sys.exit(1 if wrong else 0)
