"""What follows from the trace of the undisturbed run: which items of the machine a failing call may leave otherwise, its own, and at which
point of its course each item stands when a process is killed."""
import re
from fnmatch import fnmatchcase
from functools import lru_cache

from exceptions import HANDLER, LOG, TARGET

# These settle the whole run: where the package, the product and the folders of the shell are, and what the user chose. The library
# with the version of the package is probed and read by these too. Texts of the program name shortcuts and values.
SETTLING = {'_wexecl', 'CoInitialize', 'CreateDialogParamW', 'CreateFileMappingW', 'CreateMutexW', 'DestroyWindow', 'DialogBoxParamW',
            'EndDialog', 'EnumWindows', 'FindResourceW', 'GetCommandLineW', 'GetDlgItem', 'GetEnvironmentVariableW',
            'GetFileVersionInfoSizeW', 'GetFileVersionInfoW', 'GetModuleFileNameW', 'GetModuleHandleA', 'GetModuleHandleW',
            'GetProcAddress', 'GetSystemDirectoryW', 'GetTempFileNameW', 'GetTempPathW', 'GetWindow', 'GetWindowLongPtrW',
            'GetWindowsDirectoryW', 'GetWindowTextLengthW', 'GetWindowTextW', 'IsWindowEnabled', 'LoadLibraryW', 'LoadResource',
            'LoadStringW', 'LockResource', 'MapViewOfFile', 'RegEnumKeyW', 'RegOpenKeyExW', 'RegQueryValueExW', 'RtlGetVersion',
            'SendMessageW', 'SetWindowLongPtrW', 'SetWindowTextW', 'SHGetFolderPathW', 'SizeofResource', 'VerQueryValueW',
            'WaitForSingleObject'}
MANIFEST = 'C:\\Package\\QtvUnInst.log'
# What the failure of a file means for others: the application isn't started and doesn't register itself, and so on.
FOLLOWS = {'QtvApp8.exe': ('programs: *QtvApp8.exe*', 'HKCU\\Software\\Lorvanta\\', 'HKCU\\Software\\Lorvanta\\Qantivo 8\\*'),
           'ThumbQvi32.dll': ('programs: regsvr32*', HANDLER),
           'QtvUnInst.log': ('log: *',)}
# After a file in use the machine is to be restarted, and the application is not started before.
RESTART = ('messages: * the machine is to be restarted *', 'programs: *QtvApp8.exe"')
TELLS_OF_USE = {'CopyFileW', 'DeleteFileW', 'ExitWindowsEx', 'FindFirstFileW', 'FindNextFileW', 'MoveFileExW', 'MoveFileW', '_waccess',
                '_wfopen'}
REFUSED = 'messages: *failed!*'  # what the shell refuses of a shortcut
HIVES = {'HKEY_USERS\\S-1-5-21-1000-1000-1000-1001': 'HKCU', 'HKEY_LOCAL_MACHINE': 'HKLM', 'HKEY_CURRENT_USER': 'HKCU',
         'HKEY_CLASSES_ROOT': 'HKLM\\SOFTWARE\\Classes', 'HKEY_USERS': 'HKU'}
CHANGES = re.compile('Copy|Create(Directory|File)W|Delete|Move|RemoveDirectory|SetFile|Reg(Create|Set|Delete)|_wfopen|IPersistFile::Save')


class Call:
    def __init__(self, line):
        program, self.process, self.name, *fields = line.split('\t')
        self.program = re.sub(r'^uni\w*\.tmp', 'uni*.tmp', program)
        self.fields = dict(field.split('=', 1) for field in fields if re.match(r'\w+=', field))

    def named(self):
        """The beginnings of the names of the items that the arguments name."""
        fields = self.fields
        if (key := fields.get('parent') or fields.get('key') or '').startswith('HK'):
            hive = max((hive for hive in HIVES if key.startswith(hive)), key=len)
            key = HIVES[hive] + key[len(hive):]
            name = fields.get('name', 'null').replace('null', '(default)')
            if self.name == 'RegEnumKeyW':
                return [key]
            return [f'{key}\\ : {name}'] if 'key' in fields and self.name != 'RegDeleteKeyW' else [f'{key}\\{name}']
        # The folder itself is also named by its entries . and .. of a search.
        paths = [re.sub(r'\\[^\\]+\\\.\.$|\\\.?$', '', re.sub(r'\\+', r'\\', text))
                 for name, text in fields.items() if re.match(r'[A-Za-z]+:|<', text) and name != 'folder']
        if self.name == 'FindFirstFileW':
            return [paths[0].rpartition('\\')[0] + '\\' + fields.get('name', '')]
        return paths

    def changes(self, item):
        """Whether it may change the item, which is in small letters."""
        if not CHANGES.match(self.name) or self.fields.get('mode') == 'r':
            return False
        if item.startswith('mark: '):
            return self.name == 'MoveFileExW' and any(text.lower() in item for text in self.named()) or 'PendingFile' in self.fields.get('name', '')
        for text in self.named():
            small = text.lower()
            # A key is made with those above it, and deleted with what is below it.
            if (item in (small, f'{small}\\') or item.startswith('log: ') and text == LOG or self.name == 'RegCreateKeyW' and small.startswith(item)
                    or self.name == 'RegDeleteKeyW' and item.startswith(f'{small}\\')):
                return True
        return False


class Trace:
    def __init__(self, lines):
        self.calls = [Call(line) for line in lines]

    def uses(self, watched, name):
        return [at for at, call in enumerate(self.calls) if call.name == name and fnmatchcase(call.program, watched)]

    @lru_cache(maxsize=None)
    def changes(self, item):
        return [at for at, call in enumerate(self.calls) if call.changes(item.lower())]

    def course(self, watched, name, nth, count):
        """Returns a function of an item: its changes that are done when the process is killed at this use, and those that are lost. None if
        the trace doesn't tell. Programs that have been started go on."""
        uses = self.uses(watched, name)
        # A dialog's line comes when the dialog has ended.
        if len(uses) != count or name == 'DialogBoxParamW':
            return None
        at = uses[nth - 1]
        started = ' '.join(call.fields.get('commandLine', '') for call in self.calls[:at])

        def is_lost(change):
            call = self.calls[change]
            return change >= at and (call.process == self.calls[at].process or call.program not in started)

        def course_of(item):
            changes = self.changes(item)
            return [self.calls[at] for at in changes if not is_lost(at)], [self.calls[at] for at in changes if is_lost(at)]
        return course_of

    def window(self, at):
        """The calls whose steps a failure of this one leaves out: the rest of the search that it is in, the link that it makes, or what a
        text says that it opens."""
        call = self.calls[at]
        later = [each for each in self.calls[at:] if each.process == call.process]
        if call.name.startswith(('Co', 'I')) and '::' in call.name or call.name == 'CoCreateInstance':
            end = next((n for n, each in enumerate(later) if each.name == 'IPersistFile::Save'), 0)
        elif call.name == '_wfopen' and call.fields.get('mode') == 'r':
            end = next((n for n, each in enumerate(later) if n and each.name == '_wfopen'), len(later))
        else:
            opened = [each for each in self.calls[:at] if each.process == call.process and each.name in ('FindFirstFileW', 'FindClose')]
            inside = call.name.startswith('Find') or opened and opened[-1].name == 'FindFirstFileW'
            end = next((n for n, each in enumerate(later) if each.name == 'FindClose'), 0) if inside else 0
        return later[:end + 1]

    def own(self, watched, name, nth, count):
        """Returns whether the call may settle the whole run, and a test of an item for whether it is the call's own. `count` is how often it
        was made."""
        uses = self.uses(watched, name)
        is_told = len(uses) == count
        settles = name in SETTLING or not is_told or watched == 'QtvUnInst.exe' and name == 'CopyFileW'
        uses = (uses[nth - 1:nth] if nth else uses) if is_told else []
        # Without the manifest, the files of setup are damaged.
        settles |= name == '_waccess' and any(self.calls[at].fields['path'] == MANIFEST for at in uses)
        named = {text for at in uses for call in self.window(at) for text in call.named() if text}
        files = {text.rpartition('\\')[2] for text in named if not text.startswith('HK')} - {''}
        # What a file is copied to is its own too.
        named |= {text for call in self.calls if call.fields.get('source') in named for text in call.named() if text}
        lower = {text.lower() for text in named}
        lines = ' '.join(self.calls[at].fields.get('commandLine', '') for at in uses)
        patterns = [pattern for file, patterns in FOLLOWS.items() for pattern in patterns
                    if file in files or file in lines or name == 'CreateDirectoryW' and any((TARGET + file).startswith(text) for text in named)]

        # What can't be deleted also keeps the folders and keys above it, with their values.
        keeps = re.match('(Reg|Delete|Remove|Move|Find)', name)
        restarts = RESTART if name in TELLS_OF_USE else ()
        patterns += [*restarts, *([REFUSED] if name.startswith('IShellLinkW') else [])]

        # If a search never finds anything, nothing makes the folder of what it finds.
        made = {text.lower() for at in uses for call in self.window(at) for text in call.named()
                if call.name == 'CreateDirectoryW' and (name == call.name or not nth)}

        def is_named(item, text):
            rest = item[len(text):] if item.startswith(text) else None
            above = item.partition(' : ')[0] if text.startswith('hk') else item
            return (rest in ('', '\\', '.old', '.new') or rest and (text in made or text.startswith('hk'))
                    or keeps and above.endswith('\\') and text.startswith(above))

        def is_own(item):
            small = item.lower()
            return (any(is_named(small, text) for text in lower) or any(fnmatchcase(item, pattern) for pattern in patterns)
                    or item.partition(': ')[0] in ('log', 'pages', 'programs') and any(text in item for text in named)
                    or item.startswith('mark: ') and any(item.endswith(text) or f'{text} ' in item for text in named)
                    or any(item.rpartition('\\')[2].startswith(file) for file in files))
        return settles, is_own
