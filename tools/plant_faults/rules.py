"""Makes faults from C++ sources by rule. It reads tokens and brackets, not the language: what doesn't compile is no fault.

The sources are formatted by clang-format, so an operator of two operands has blanks around it.
"""

import bisect
import re
from dataclasses import dataclass

TOKEN = re.compile(r"""
    (?P<skip> \s+ | //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:\\\n|[^\n])* )
  | (?P<text> (?:u8|[uUL])?R"\((?:.|\n)*?\)" | (?:u8|[uUL])?"(?:\\.|[^"\\\n])*" )
  | (?P<char> (?:u8|[uUL])?'(?:\\.|[^'\\\n])+' )
  | (?P<number> (?:0[xX][0-9a-fA-F']+|\d[\d'.]*)[uUlLzZ]* )
  | (?P<name> [A-Za-z_]\w* )
  | (?P<sign> <=>|<<=|>>=|\.\.\.|->\*|::|->|\+\+|--|<<|&&|\|\||[=!<>+\-*/%&|^]=|.)
""", re.VERBOSE | re.DOTALL | re.MULTILINE)
OPENS = {"(": ")", "[": "]", "{": "}"}
# Operators of two operands, the loosest first.
PRECEDENCE = {sign: rank for rank, signs in enumerate(
    ["= += -= *= /= %= &= |=", "? :", "||", "&&", "|", "^", "&", "== !=", "< > <= >=", "<< >>", "+ -", "* / %"]) for sign in signs.split()}
SWAPPED = {"==": "!=", "!=": "==", "<": ">=", ">=": "<", ">": "<=", "<=": ">", "&&": "||", "||": "&&", "+": "-",
           "-": "+", "+=": "-=", "-=": "+=", "*": "+", "/": "*", "%": "/", "++": "--", "--": "++"}
EDGE = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
OPPOSITE = {"TRUE": "FALSE", "FALSE": "TRUE", "true": "false", "false": "true"}
ROOTS = ("HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_CLASSES_ROOT", "HKEY_USERS")
# One of two functions or words that are taken for each other.
ALIKE = {"wcscmp": "_wcsicmp", "_wcsicmp": "wcscmp", "wcsncmp": "_wcsnicmp", "_wcsnicmp": "wcsncmp", "wcschr": "wcsrchr", "Find": "ReverseFind",
         "ReverseFind": "Find", "break": "continue", "continue": "break", "min": "max", "max": "min", "PostMessageW": "SendMessageW",
         "starts_with": "ends_with", "begin": "end", "first": "second", "second": "first",
         "find": "rfind", "rfind": "find", "TrimLeft": "TrimRight", "TrimRight": "TrimLeft", "CompareNoCase": "Compare"}
NO_STATEMENT = set("if for while do else switch case default return using public private protected template class struct enum namespace "
                   "friend static_assert try catch typedef extern throw virtual explicit".split())
NO_WRAPPER = {"TEXT", "CString", "MAKEINTRESOURCEW", "Text", "Wide", "Narrow", "EXPECT_TRUE"}


@dataclass(frozen=True)
class Fault:
    rule: str
    file: str
    function: str
    line: int
    start: int
    end: int
    new: str
    shown: str  # the line, with what goes in [- -] and what comes in {+ +}

    @property
    def key(self):
        return f"{self.file} {self.function}: {self.shown}"

    @property
    def name(self):
        return f"{self.file}:{self.line} {self.function} ({self.rule}): {self.shown}"


class Source:
    def __init__(self, file, text):
        self.file, self.text = file, text
        tokens = [match for match in TOKEN.finditer(text) if match.lastgroup != "skip"]
        self.kinds, self.words = [token.lastgroup for token in tokens], [token.group() for token in tokens]
        self.starts, self.ends = [token.start() for token in tokens], [token.end() for token in tokens]
        self.match, self.bracketed = {}, []
        stack = []
        for i, word in enumerate(self.words):
            self.bracketed.append(bool(stack) and self.words[stack[-1]] != "{")
            if word in OPENS:
                stack.append(i)
            elif stack and word == OPENS[self.words[stack[-1]]]:
                self.match[stack[-1]] = i
                self.match[i] = stack.pop()
        self.scopes()

    def scopes(self):
        """Names the function or table of each token, and says whether it's in the body of a function."""
        self.owner, self.inside = [""] * len(self.words), [False] * len(self.words)
        stack, name, header = [], "", 0
        for i, word in enumerate(self.words):
            self.owner[i] = name or self.declared(header)
            self.inside[i] = any(kind == "function" for kind, _ in stack)
            if word == "{":
                kind, own = self.opened(header, i, stack)
                stack.append((kind, name))
                name = own if own and not name else name
                header = i + 1
            elif word == "}" and stack:
                _, name = stack.pop()
                header = i + 1
            elif word == ";":
                header = i + 1

    def opened(self, header, brace, stack):
        words = self.words[header:brace]
        if any(kind in ("function", "table") for kind, _ in stack):
            return "block", ""
        if "namespace" in words[:2]:
            return "namespace", ""
        if "(" in words and "=" not in words[:words.index("(")]:
            at = header + words.index("(") - 1
            return "function", self.words[at] if self.kinds[at] == "name" else "operator"
        if {"class", "struct", "enum", "union"} & set(words) and "=" not in words:
            return "type", ""
        return "table", self.declared(header)

    def declared(self, header):
        """The name that a declaration at the given token gives."""
        for i in range(header, min(header + 40, len(self.words))):
            if self.words[i] in ("=", "[", "{", ";", "(", ","):
                return self.words[i - 1] if i > header and self.kinds[i - 1] == "name" else "-"
        return "-"

    def fault(self, rule, start, end, new):
        first = self.text.rfind("\n", 0, start) + 1
        last = self.text.find("\n", end)
        old = self.text[start:end]
        shown = self.text[first:start] + (f"[-{old}-]" if old else "") + (f"{{+{new}+}}" if new else "") + self.text[end:last]
        at = min(bisect.bisect_left(self.starts, start), len(self.starts) - 1)
        return Fault(rule, self.file, self.owner[at], self.text.count("\n", 0, start) + 1, start, end, new, " ".join(shown.split()))

    def tokens(self, rule, first, last, new):
        """A fault that replaces the tokens from the first to the last."""
        return self.fault(rule, self.starts[first], self.ends[last], new)

    def span(self, first, last):
        return self.text[self.starts[first]:self.ends[last]]

    def binary(self, i):
        return (self.kinds[i] == "sign" and self.words[i] in PRECEDENCE and
                self.text[self.starts[i] - 1].isspace() and self.text[self.ends[i]].isspace())

    def operand(self, i, step):
        """The last token of the operand of a binary operator, in the direction of the step."""
        rank, at = PRECEDENCE[self.words[i]], i
        while 0 < at + step < len(self.words):
            word = self.words[at + step]
            ends = word in (";", ",", "return") or (word in OPENS if step < 0 else word in OPENS.values())
            if ends or self.binary(at + step) and PRECEDENCE[word] <= rank:
                break
            at = self.match.get(at + step, at + step)
        return at

    def arguments(self, opening):
        """The first and last tokens of each part between two brackets."""
        parts, first, at = [], opening + 1, opening + 1
        while at <= self.match[opening]:
            if self.words[at] == "," or at == self.match[opening]:
                parts.append((first, at - 1))
                first = at + 1
            at = (self.match.get(at, at) if self.words[at] in OPENS else at) + 1
        return [part for part in parts if part[0] <= part[1]]

    def statement_end(self, first):
        """The semicolon after the statement; None if it has none of its own."""
        at = first
        while at < len(self.words) and self.words[at] not in (";", ")", "]", "}"):
            at = (self.match.get(at, len(self.words)) if self.words[at] in OPENS else at) + 1
        return at if self.words[at:at + 1] == [";"] else None

    def begins_statement(self, i):
        if self.words[i] in ("{", "}", ";") or self.bracketed[i]:
            return False
        before = self.words[i - 1] if i else ""
        if before == ")" and i - 1 in self.match:
            return self.words[self.match[i - 1] - 1] in ("if", "for", "while", "switch")
        return before in (";", "{", "}", "else", "do")


def same_kind(sources):
    """Groups constants by the beginning of their name, and members of an enumeration by its name."""
    groups = {}
    for source in sources:
        words = source.words
        for i, word in enumerate(words):
            if source.kinds[i] != "name":
                continue
            if re.fullmatch(r"[A-Z][A-Z0-9]*_[A-Z0-9_]+", word) and not word.startswith(("HKEY_", "QTV_", "ON_")):
                groups.setdefault(word.split("_")[0], set()).add(word)
            elif words[i - 1] == "::" and re.fullmatch("[A-Z][a-z]\\w*", word) and re.fullmatch("[A-Z]\\w+", words[i - 2]):
                if words[i + 1] not in ("(", "::", "<", "{") and source.kinds[i + 1] != "name":
                    groups.setdefault(words[i - 2] + "::", set()).add(word)
    return {name: sorted(words) for name, words in groups.items()}


def next_in(group, word):
    return group[(group.index(word) + 1) % len(group)] if word in group and len(group) > 1 else None


def faults_of(source, groups):
    """All faults that the rules make of a source."""
    for i, word in enumerate(source.words):
        if source.owner[i] == "static_assert" or source.owner[i] == "-" and not source.inside[i]:
            continue
        yield from token_faults(source, i, word, groups)
        if source.inside[i]:
            yield from body_faults(source, i, word)


def token_faults(source, i, word, groups):
    kind, words = source.kinds[i], source.words
    before = words[i - 1] if i else ""
    after = words[i + 1] if i + 1 < len(words) else ""
    if kind == "number":
        # Nobody sees how long an array is, or a pause between two looks.
        unseen = before == "[" and after == "]" and words[i + 2] in (";", "=", ",") or words[i - 2].startswith("kPoll")
        if not unseen and re.fullmatch(r"0[xX][\da-fA-F]+|\d+", word):
            value = int(word, 0) if word.startswith(("0x", "0X")) else int(word)
            yield source.tokens("number", i, i, str(1 if value == 0 else 0 if value == 1 else value // 2 if value > 15 else value + 1))
            if 0 < value <= 15:
                yield source.tokens("number", i, i, str(value - 1 if value > 1 else 2))
    elif kind == "text":
        yield from text_faults(source, i, word)
    elif kind == "char":
        yield source.tokens("text", i, i, re.sub("'.*'", "'/'" if "\\\\" in word else "'y'" if "x" in word else "'x'", word))
    elif word in OPPOSITE:
        yield source.tokens("flag", i, i, OPPOSITE[word])
    elif word in ROOTS:
        yield source.tokens("root", i, i, ROOTS[(ROOTS.index(word) + 1) % 2])
    elif kind == "name":
        own = words[i - 2] + "::" if before == "::" else word.split("_")[0]
        if word in ALIKE and (source.inside[i] and after == "(" or word in ("break", "continue") or before == "."):
            yield source.tokens("alike", i, i, ALIKE[word])
        if (other := next_in(groups.get(own, []), word)) and not (before == "::" and after in ("(", "::")):
            yield source.tokens("constant", i, i, other)
    if word == "{" and before in ("{", ",") and i in source.match and words[source.match[i] + 1] == "," and not source.inside[i]:
        yield source.tokens("entry", i, source.match[i] + 1, "")
    if word.startswith("ON_") and after == "(" and i + 1 in source.match:
        yield source.tokens("entry", i, source.match[i + 1], "")
    if source.binary(i) and (source.inside[i] or word in ("|", "+", "-")):
        yield from binary_faults(source, i, word)


def is_prose(source, first, last):
    """A sentence for people. What it says word by word is nobody's fault."""
    while source.kinds[first - 1] == "text":
        first -= 1
    while source.kinds[last + 1] == "text":
        last += 1
    return all(kind == "text" for kind in source.kinds[first:last + 1]) and source.span(first, last).count(" ") > 2


def text_faults(source, i, word):
    if "R\"(" in word or source.words[i - 1] == "extern" or is_prose(source, i, i):
        return
    letters = [m.start() for m in re.finditer(r"(?:%[-+#0-9.*]*l*\w|\\[xX][0-9a-fA-F]+|\\.)|[A-Za-z0-9 ;:=.]", word)
               if len(m.group()) == 1 and word.index('"') < m.start()]
    if letters:
        at = letters[-1]
        yield source.tokens("text", i, i, word[:at] + ("y" if word[at] in "xX" else "x") + word[at + 1:])


def binary_faults(source, i, word):
    if word in ("=", "?", ":", "<<", ">>", "&="):
        return
    texts = source.kinds[i - 1] == "text" or source.kinds[i + 1] == "text" or source.words[i + 1] == "TEXT"
    if word in SWAPPED and not (texts and word in ("+", "+=")):
        yield source.tokens("operator", i, i, SWAPPED[word])
    if word in EDGE and not in_loop_head(source, i):
        yield source.tokens("edge", i, i, EDGE[word])
    if word in ("&&", "||", "+", "-", "|"):
        first, last = source.operand(i, -1), source.operand(i, 1)
        if first < i < last:
            if not is_prose(source, i + 1, last):
                yield source.tokens("part", i, last, "")
            if not is_prose(source, first, i - 1):
                yield source.tokens("part", first, i, "")


def in_loop_head(source, i):
    at = i - 1
    while at > 0 and source.words[at] not in ("(", "{", "}"):
        at = (source.match.get(at, at) if source.words[at] == ")" else at) - 1
    return source.words[at] == "(" and source.words[at - 1] == "for"


def body_faults(source, i, word):
    words = source.words
    if word in ("if", "while") and words[i + 1] == "(" and i + 1 in source.match:
        first, last = i + 2, source.match[i + 1] - 1
        semicolons = [at for at in range(first, last) if words[at] == ";"]
        first = semicolons[-1] + 1 if semicolons else first
        if "=" not in words[first:last + 1]:
            yield source.tokens("condition", first, last, f"!({source.span(first, last)})")
            if word == "if":
                yield source.tokens("condition", first, last, "true")
    elif word == "!" and source.kinds[i] == "sign":
        yield source.tokens("operator", i, i, "")
    elif word in ("++", "--"):
        yield source.tokens("operator", i, i, SWAPPED[word])
    elif word == "?" and source.binary(i):
        middle = source.operand(i, 1) + 1
        if words[middle] == ":":
            last = source.operand(middle, 1)
            yield source.tokens("choice", i + 1, last, f"{source.span(middle + 1, last)} : {source.span(i + 1, middle - 1)}")
    elif word == "return" and (end := source.statement_end(i)) and end > i + 1:
        value = source.span(i + 1, end - 1)
        if value not in ("0", "false", "FALSE", "nullptr", "{}", "1", "true", "TRUE") and not value.startswith("*this"):
            yield source.tokens("result", i + 1, end - 1, "{}")
    if source.begins_statement(i) and word not in NO_STATEMENT and (end := source.statement_end(i)):
        if not is_used_later(source, i, end):
            yield source.tokens("statement", i, end - 1, "")
    yield from call_faults(source, i, word)


def is_used_later(source, first, end):
    """Whether a statement declares a name that comes again: without it nothing compiles."""
    for i in range(first, end):
        if source.words[i] in ("=", "(", "{", "["):
            break
        if source.kinds[i] == "name" and source.words[i + 1] in ("=", "(", "{", ";", "[") and i > first:
            before = source.words[i - 1]
            return (source.kinds[i - 1] == "name" or before in (">", "&", "*")) and source.words[i] in source.words[end:end + 600]
    return False


def call_faults(source, i, word):
    words = source.words
    if source.kinds[i] != "name" or words[i + 1] != "(" or i + 1 not in source.match or i == 0:
        return
    parts = source.arguments(i + 1)
    closing = source.match[i + 1]
    before = words[i - 1]
    if source.kinds[i - 1] == "name" and before not in ("return", "else"):
        return
    if word[0].isupper() and not word.isupper() and word not in NO_WRAPPER:
        whole = source.begins_statement(i - 2) and words[closing + 1] == ";"
        if before == "." and not whole and (parts or word.startswith(("Trim", "Make"))):
            yield source.tokens("call", i - 1, closing, "")
        elif len(parts) == 1 and before not in (".", "->", "::", "~", ";", "{", "}"):
            yield source.tokens("call", i, closing, source.span(*parts[0]))
    for left, right in zip(parts, parts[1:]):
        if word not in ("min", "max") and differ_in_one_name(source, left, right):
            yield source.tokens("arguments", left[0], right[1], f"{source.span(*right)}, {source.span(*left)}")


def differ_in_one_name(source, left, right):
    """Whether two arguments are built alike, so that one may be taken for the other."""
    pairs = [(i, j) for i, j in zip(range(left[0], left[1] + 1), range(right[0], right[1] + 1)) if source.words[i] != source.words[j]]
    if left[1] - left[0] != right[1] - right[0] or len(pairs) != 1:
        return False
    words = [source.words[at] for at in pairs[0]]
    return (all(source.kinds[at] == "name" for at in pairs[0]) and words[0].isupper() == words[1].isupper() and "nullptr" not in words)
