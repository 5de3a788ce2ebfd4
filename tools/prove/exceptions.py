"""Where a disturbed run may leave the machine in another state than promised, and what the parts found. What is left, when and why
is in the tables of docs/reliability.md, whose rows have the same numbers."""
import re
from collections import defaultdict
from fnmatch import fnmatchcase
from functools import lru_cache

from lab import ROOT

# How long a machine stays in a wrong state.
RUN, LOST, OFF_COURSE, AT_ONCE, SECOND, LASTING, FOR_GOOD = (
    'the run', 'though not its own', 'at no point of its course', 'until a second run', 'until a restart and a second run',
    'until it is installed and uninstalled again', 'for good')

TARGET = 'C:\\Program Files\\Qantivo 8\\'
LOG = TARGET + 'QtvUnInst.log'
GROUP = '<CommonPrograms>\\Qantivo 8\\'
DESKTOP = '<CommonDesktop>\\Qantivo 8.lnk: '
PROBE = '<CommonStartup>\\q8t[*].tmp: *'
COPY = '<Temp>\\uni[*].tmp: *'
SHORTCUTS = f'{GROUP}*|{DESKTOP}*|log: Shell Link: *'
LINKS = f'{SHORTCUTS}|log: Made Dir: *'
HIDDEN_LIBRARY = 'C:\\Package\\runtime9.dll*'
HANDLER = 'HKLM\\SOFTWARE\\Classes\\CLSID\\{5E0C2B7A-8D41-4F69-9C3B-71A6D2E48F15}*'
ASIDE = f'{TARGET}*.old: file *|{TARGET}*.new: file *'
DOWNLOADED = 'C:\\Program Files\\[*].dl\\*|mark: delete C:\\Program Files\\[*].dl*'
WININIT = 'C:\\Windows\\WININIT.INI: '
# Everything that differs between an installation for all users and one for the current user.
ALL_USERS = 'HK*\\Qantivo 8\\ : AllUsers: REG_SZ "A"'
OTHER_SCOPE = f'{GROUP}*: gone|{DESKTOP}gone|<Desktop>\\Qantivo 8.lnk: *|<Programs>\\Qantivo 8\\*|log: *|{ALL_USERS}'
SETTINGS = 'HKCU\\Software\\Lorvanta\\: *|HKCU\\Software\\Lorvanta\\Qantivo 8\\*'
VERSION = 'GetModuleHandleW|GetProcAddress|RtlGetVersion'

NO_END = 'EndDialog|GetWindowLongPtrW|SetWindowLongPtrW|IsWindowEnabled'

# The row in the document, the stages, and patterns with * and ?, separated by |: the scenarios, the disturbed calls, and the items
# with their states. Before a call, "kill:" means that the process ended at it, "power:" that the power was cut during it, "full:"
# that it was the first one without space, and "two:" that another run went on.
EXCEPTIONS = [(row, stage, *patterns) for row, stages, *patterns in [
    # ---- repaired by another run and a restart ----
    ('1.1', AT_ONCE, 'update', 'CopyFileW|kill:CopyFileW|kill:DeleteFileW|kill:MoveFileExW', f'{TARGET}*: gone'),
    ('1.2', AT_ONCE, 'update', 'kill:*|CoInitialize|CoCreateInstance|IUnknown::QueryInterface|IPersistFile::Save|LoadStringW|'
     'CreateDirectoryW|_waccess|WriteFile|_wfopen', f'{GROUP}*: gone|{DESKTOP}gone|log: *: gone'),
    ('1.3', AT_ONCE, 'install*|update', VERSION, 'HKLM\\SOFTWARE\\Lorvanta\\Qantivo 8\\Capabilities\\FileAssociations\\ : *'),
    ('1.4', AT_ONCE, 'install*|update', 'IShellLinkW::SetPath|IShellLinkW::SetWorkingDirectory|SHGetFolderPathW',
     '*\\Qantivo 8*.lnk: shortcut to *'),
    ('1.5', AT_ONCE, 'install*|update', 'LoadStringW',
     '*\\.lnk: shortcut to *|log: Shell Link: *\\.lnk: *|*\\Qantivo 8\\ : DisplayName: REG_SZ ""'),
    ('1.6', AT_ONCE, 'install*|update', 'CopyFileW|FindFirstFileW|_waccess|_wfopen|WriteFile',
     f'{LOG}: a log of manifest *|log: *: once|log: *: 2 times'),
    ('1.7', AT_ONCE, 'install*|update', 'MoveFileW|kill:MoveFileW|kill:LoadLibraryW', HIDDEN_LIBRARY),
    ('1.7', OFF_COURSE, 'install*|update', 'kill:MoveFileW|kill:LoadLibraryW', HIDDEN_LIBRARY),
    ('1.8', AT_ONCE, 'update', 'DeleteFileW|MoveFileW', f'{TARGET}*.old: *|{TARGET}*.new: *|mark: * {TARGET}*'),
    ('1.9', AT_ONCE, 'uninstall', 'DeleteFileW|WaitForSingleObject', f'mark: delete {TARGET}*'),
    ('1.9', AT_ONCE, 'uninstall', 'DeleteFileW|RemoveDirectoryW|_wfopen|ReadFile',
     'mark: delete <CommonPrograms>: *|mark: delete <CommonPrograms>\\Qantivo 8*'),
    ('1.10', AT_ONCE, 'update|uninstall', 'GetFileAttributesW', f'{TARGET}*: file S *'),
    ('1.11', AT_ONCE, 'uninstall', 'GetEnvironmentVariableW', '*C:\\Windows\\uni[*].tmp*'),
    ('1.12', AT_ONCE, 'download*', '*', DOWNLOADED),
    ('1.12', OFF_COURSE, 'download*', 'kill:*', DOWNLOADED),
    # ---- what is left out until a second run, because a call that settles it fails ----
    ('1.2', LOST, 'install*', 'CoInitialize|IUnknown::QueryInterface|LoadStringW|WriteFile|GetWindow|SendMessageW', LINKS),
    ('1.3', LOST, 'install*', VERSION, HANDLER),
    ('1.11', LOST, 'uninstall', 'GetEnvironmentVariableW', f'{COPY}|mark: delete <Temp>\\uni*|programs: <Temp>\\uni*'),
    ('1.13', LOST, 'install*|update', 'ReadFile', f'{TARGET}*|mark: * {TARGET}*|{HANDLER}|{SETTINGS}|programs: *QtvApp8.exe" -regonly: gone'),
    ('1.13', LOST, 'update', 'RegOpenKeyExW|RegQueryValueExW', f'{TARGET}*.hlp: file *|mark: delete {TARGET}Samples: gone'),
    ('1.14', LOST, 'uninstall', 'WaitForSingleObject', f'{TARGET}*: file *|{SETTINGS}'),
    ('1.15', LOST, 'uninstall', VERSION, '*\\.j2k\\UserChoice\\*'),
    ('3.1', LOST, 'uninstall', 'ReadFile', f'{TARGET}*|mark: delete {TARGET[:-1]}*: gone'),
    ('3.3', LOST, 'uninstall', f'{VERSION}|WaitForSingleObject', HANDLER),
    # ---- repaired by a restart, another run and a restart ----
    ('2.1', AT_ONCE, 'update', 'MoveFileExW', f'{TARGET}presets.dat: gone'),
    ('2.1', SECOND, 'update', 'CopyFileW|MoveFileExW|kill:CopyFileW|kill:DeleteFileW|kill:MoveFileExW', f'{TARGET}presets.dat: gone'),
    # ---- repaired by installing and uninstalling once more ----
    ('3.1', LASTING, 'uninstall', 'FindFirstFileW|FindNextFileW|_wfopen|ReadFile', f'{TARGET}*'),
    ('3.2', LASTING, 'uninstall', 'MoveFileExW', f'{TARGET}*'),
    ('3.3', LASTING, 'uninstall', f'CreateProcessW|{VERSION}|WaitForSingleObject', HANDLER),
    ('3.4', LASTING, 'uninstall', 'two:*', f'{HIDDEN_LIBRARY}|{HANDLER}'),
    ('3.4', AT_ONCE, 'install|uninstall', 'two:*', HIDDEN_LIBRARY),
    ('3.5', LASTING, 'uninstall', 'two:*', f'{TARGET}*'),
    # ---- never repaired ----
    ('4.1', FOR_GOOD, 'install*', 'RegCreateKeyW|RegSetValueExW', OTHER_SCOPE),
    ('4.1', f'{FOR_GOOD}|{AT_ONCE}', 'update', 'RegOpenKeyExW|RegQueryValueExW', OTHER_SCOPE),
    ('4.2', FOR_GOOD, 'install-wizard', 'GetWindow|SendMessageW', OTHER_SCOPE),
    ('4.2', AT_ONCE, 'install-wizard', 'GetWindow|SendMessageW', f'<Desktop>\\Qantivo 8.lnk: *|log: *|{ALL_USERS}|C:\\Qantivo 8\\*'),
    ('4.3', FOR_GOOD, 'update', 'MoveFileExW|kill:MoveFileExW', ASIDE),
    ('4.4', f'{FOR_GOOD}|{AT_ONCE}', 'update', '_wfopen|DeleteFileW|kill:_wfopen|kill:DeleteFileW', PROBE),
    ('4.4', OFF_COURSE, 'update', 'kill:_wfopen|kill:DeleteFileW', PROBE),
    ('4.5', FOR_GOOD, 'uninstall', 'GetModuleFileNameW|CopyFileW|_wexecl|MoveFileExW|kill:*', COPY),
    ('4.5', AT_ONCE, 'uninstall', 'GetModuleFileNameW|CopyFileW|kill:CopyFileW|kill:GetModuleFileNameW', COPY),
    ('4.5', OFF_COURSE, 'uninstall', 'kill:CopyFileW|kill:GetModuleFileNameW', COPY),
    ('4.6', f'{FOR_GOOD}|{AT_ONCE}', 'update|uninstall', 'MoveFileExW', f'{WININIT}*'),
    # ---- the power is cut during a call ----
    ('5.1', AT_ONCE, 'install|update', 'power:CopyFileW', f'{TARGET}*: file *|{LOG}: *|log: *'),
    ('5.1', AT_ONCE, 'install|update', 'power:WriteFile', 'log: *: once'),
    ('5.1', AT_ONCE, 'install|update', 'power:IPersistFile::Save', SHORTCUTS),
    ('1.7', AT_ONCE, 'install|update', 'power:MoveFileW', HIDDEN_LIBRARY),
    ('1.2', AT_ONCE, 'update', 'power:*', LINKS),
    ('5.2', AT_ONCE, 'update', 'power:*', f'{TARGET}*: gone'),
    ('6.2', f'{FOR_GOOD}|{AT_ONCE}', 'update', 'power:_wfopen|power:DeleteFileW', PROBE),
    ('6.2', FOR_GOOD, 'update', 'power:CopyFileW|power:MoveFileExW', ASIDE),
    ('6.1', FOR_GOOD, 'update', 'power:WriteFile', '<CommonPrograms>\\*Qantivo 8*.lnk: *|log: *'),
    ('6.2', AT_ONCE, 'uninstall', 'power:CopyFileW', COPY),
    ('6.2', FOR_GOOD, 'uninstall', 'power:*', COPY),
    # ---- the disk is full ----
    ('5.3', AT_ONCE, 'install|update', 'full:*', f'{TARGET}*: gone|{LOG}: *|log: *|{LINKS}'),
    ('5.3', AT_ONCE, 'update|uninstall', 'full:*', f'{TARGET}*.old: *|{TARGET}*.new: *|{WININIT}*'),
    ('6.2', FOR_GOOD, 'update|uninstall', 'full:*', f'{ASIDE}|{WININIT}file *|{COPY}'),
    ('5.2', SECOND, 'update', 'full:*', f'{TARGET}*: gone'),
    # ---- two at once: each may close the other one at any time ----
    ('6.2', FOR_GOOD, 'install', 'two:*', f'{OTHER_SCOPE}|{GROUP}*'),
    ('6.2', FOR_GOOD, 'install|uninstall', 'two:*', f'{COPY}|{PROBE}|{ASIDE}'),
    # ---- under Wine: what a second run does not repair ----
    ('6.3', FOR_GOOD, '*', 'wine:*', '<CommonStartup>\\Qantivo 8.lnk: gone|<Startup>\\Qantivo 8.lnk: gone|'
     'log: Shell Link: <CommonStartup>\\Qantivo 8.lnk: gone'),
    ('6.2', FOR_GOOD, '*', 'wine:*', COPY),
    # ---- what a person sees ----
    ('7.1', RUN, 'install-wizard', NO_END, 'the run: no button ends the wizard'),
    ('7.1', AT_ONCE, 'install-wizard', NO_END, 'exit code: 1|messages: * programs were still running *'),
    ('7.2', AT_ONCE, 'install*|update',
     'GetFileVersionInfo*|GetModuleFileNameW|GetProcAddress|GetSystemDirectoryW|LoadLibraryW|VerQueryValueW|_waccess',
     'exit code: 1|messages: *This setup files are damaged*|pages: *'),
    ('7.2', AT_ONCE, 'download*', 'CloseHandle', 'messages: *This setup files are damaged*|pages: *|programs: *setup.exe*'),
    ('7.3', AT_ONCE, 'install*|update|uninstall', VERSION, 'programs: regsvr32.exe *'),
    ('7.4', AT_ONCE, 'update', 'ReadFile', 'programs: *QtvApp8.exe"*'),
    ('7.5', AT_ONCE, 'install-wizard', 'CreateDialogParamW|DestroyWindow|GetDlgItem|GetWindowText*|SetWindowTextW',
     'messages: *really want to cancel*|messages: *click BROWSE button*|messages: *valid group name*'),
    ('7.6', AT_ONCE, 'download*', 'GetExitCodeProcess', 'exit code: *'),
    ('7.7', LOST, 'update', 'ReadFile|GetModuleHandleA|GetProcAddress|OpenProcessToken|LookupPrivilegeValueW|AdjustTokenPrivileges',
     'messages: * the machine is to be restarted *: gone'),
    ('7.7', LOST, 'install', 'ReadFile', 'programs: *QtvApp8.exe": gone'),
    # ---- not about the machine: how often the copy makes these calls is a matter of chance. If the first process still runs, the
    # copy sends it a message. If not, the copy makes the list anew, which is one more access. ----
    (None, RUN, 'uninstall', 'kill:EnumWindows|kill:PostMessageW|kill:MapViewOfFile|kill:WaitForSingleObject|kill:ReleaseMutex|'
     'kill:UnmapViewOfFile', 'the run: the call to be killed at was not reached'),
    # A download removes its folder again and again, until nobody uses it any more.
    (None, RUN, 'download*', 'kill:FindFirstFileW|kill:FindNextFileW|kill:FindClose|kill:DeleteFileW|kill:RemoveDirectoryW',
     'the run: the call to be killed at was not reached'),
] for stage in stages.split('|')]
used, whole_runs = set(), set()


@lru_cache(maxsize=None)
def met(patterns, text):
    """The first of the patterns that the text matches, or None."""
    return next((pattern for pattern in patterns.split('|') if fnmatchcase(text, pattern)), None)


def prefix_of(call):
    return re.match(r'(\w+:(?!:))?', call).group()


def exception_of(scenario, call, problem):
    """The row that names the problem, and the patterns of it that do; or None."""
    stage, item, what = problem
    # A download starts an install or an update, which meets the same.
    names = (scenario, {'download': 'install', 'download-update': 'update'}.get(scenario))
    # What is known to be lost until a second run may be lost.
    stages = (LOST, AT_ONCE) if stage == LOST else (stage,)
    for row in EXCEPTIONS:
        patterns = [next(filter(None, (name and met(row[2], name) for name in names)), None), met(row[3], call), met(row[4], f'{item}: {what}')]
        if row[1] in stages and all(patterns):
            return row, *patterns
    return None


def document_agrees():
    """Whether each row of the document's tables is an exception, or something that no state holds, and the other way round."""
    document = (ROOT / 'docs/reliability.md').read_text()
    theirs = set(re.findall(r'^\| (\d+\.\d+|`.*`) \|', document, re.MULTILINE))
    left_out = (ROOT / 'tools/lab/deviations.cpp').read_text().partition('kLeftOut[] = {')[2].partition('};')[0]
    ours = {f'`{item}`'.replace('\\\\', '\\') for item in re.findall(r'"(.*)"', left_out)}
    ours |= {row[0] for row in EXCEPTIONS if row[0]}
    for row in sorted(ours ^ theirs):
        print(f'only {"docs/reliability.md" if row in theirs else "the proof"} has the row {row}')
    return ours == theirs


def report(trials, prefix, whole):
    """Takes trials: group, scenario, call, text, problems (stage, item, what). Prints the problems that are not in the table, and a
    line for each group. A whole run is one that must need each row of calls with its prefix. Returns whether all is in order."""
    groups = defaultdict(lambda: [0, 0, 0])
    for group, scenario, call, text, problems in trials:
        exceptions = [(problem, exception_of(scenario, call, problem)) for problem in problems]
        used.update((row[0], pattern) for _, row in exceptions if row for pattern in row[1:])
        for (stage, item, what), row in exceptions:
            if not row:
                print(f'{group}, {text}, {call}: {stage}: {item}: {what}')
        unexplained = any(row is None for _, row in exceptions)
        counts = groups[group]
        counts[0] += 1
        counts[1] += bool(problems) and not unexplained
        counts[2] += unexplained
    for group, (tried, explained, unexplained) in sorted(groups.items()):
        print(f'{prefix + group:40} {tried:5} tried, {explained:4} in the table of exceptions, {unexplained} unexplained', flush=True)
    if whole:
        whole_runs.add(prefix)
    return not any(counts[2] for counts in groups.values())


def all_rows_needed():
    """Prints the patterns of rows that no whole run needed. Chance decides how often a copy makes a call, and what goes on while a wait
    fails. So the rows without a number need not be."""
    odd = [(pattern, row) for row in EXCEPTIONS if row[0] and {prefix_of(call) for call in row[3].split('|')} <= whole_runs
           for pattern in '|'.join(row[2:]).split('|') if (row, pattern) not in used and pattern != 'WaitForSingleObject']
    for pattern, row in odd:
        print('never needed:', pattern, 'of', *row[:4])
    return not odd
