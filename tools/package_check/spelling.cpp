#include "package_check/spelling.h"

#include "package_check/package_paths.h"

namespace package_check {

namespace {

constexpr char kNoRecord[] = "The line is not a record: setup and the uninstaller skip it without a message.";

// Skips what an editor shows as a blank or not at all: control characters, the no-break space, and the bytes of
// that and of the byte-order mark in UTF-8.
LPCWSTR SkipBlanks(LPCWSTR text) {
    for (;;) {
        if ((*text != 0 && *text <= 0x20) || *text == 0xA0) {
            ++text;
        } else if (text[0] == 0xC2 && text[1] == 0xA0) {
            text += 2;
        } else if (StartsWithMark(text)) {
            text += 3;
        } else {
            return text;
        }
    }
}

WCHAR Lower(WCHAR character) {
    return character >= 'A' && character <= 'Z' ? static_cast<WCHAR>(character + ('a' - 'A')) : character;
}

// Returns the text after a prefix, or null. The prefix may have other blanks and letters of another case. `sameLetters`
// says whether the case is right.
LPCWSTR AfterPrefix(LPCWSTR line, LPCWSTR prefix, bool& sameLetters) {
    sameLetters = true;
    for (; *prefix; ++prefix) {
        if (*prefix == ' ') continue;
        line = SkipBlanks(line);
        if (Lower(*line) != Lower(*prefix)) return nullptr;
        sameLetters = sameLetters && *line == *prefix;
        ++line;
    }
    return SkipBlanks(line);
}

void MendPrefix(Record& record) {
    const CString line = record.line;
    const CString prefix = ReadRecord(line).kind.prefix;
    for (const RecordKind& kind : kRecordKinds) {
        bool sameLetters;
        const LPCWSTR value = AfterPrefix(line, kind.prefix, sameLetters);
        if (!value) continue;
        record.kind = &kind;
        if (prefix == kind.prefix) return;
        record.line = CString(kind.prefix) + value;
        if (!*value) {
            record.mendings.push_back(
                {"empty-record",
                 "Trimming the line also removes the blank that ends the prefix, so the "
                 "line is not a record and is skipped.",
                 "A name after the prefix, or no such line."});
            return;
        }
        const bool marked = StartsWithMark(line);
        record.mendings.push_back({marked                                           ? "byte-order-mark"
                                   : SkipBlanks(line) != static_cast<LPCWSTR>(line) ? "blank-before"
                                   : sameLetters                                    ? "wrong-blank"
                                                                                    : "wrong-case",
                                   kNoRecord, marked ? kSaveAs : Utf8(record.line)});
        return;
    }
}

// Returns where the comment begins, if this kind of record may have one; otherwise the end.
int EndOfNames(const Record& record) {
    const int comment = JobOf(*record.kind) == Job::Remove ? record.line.Find(kComment) : -1;
    return comment < 0 ? record.line.GetLength() : comment;
}

void MendLeadingBlank(Record& record) {
    const CString value = record.Value();
    const LPCWSTR name = SkipBlanks(value);
    if (name == static_cast<LPCWSTR>(value)) return;
    record.line = CString(record.kind->prefix) + name;
    record.mendings.push_back(
        {"blank-in-name",
         "One blank ends the prefix. A second one becomes part of the name, and no file of "
         "that name is found.",
         Utf8(record.line)});
}

void MendComment(Record& record) {
    const int comment = record.line.Find(kComment);
    if (JobOf(*record.kind) == Job::Remove || comment < 0) return;
    record.line = record.line.Left(comment).TrimRight();
    record.mendings.push_back(
        {"comment",
         JobOf(*record.kind) == Job::Copy
             ? "The comment becomes part of the name, so nothing is found and nothing is copied. But the "
               "removal "
               "leaves the comment out: it deletes a file of that name that was never installed."
             : "The comment becomes part of the name of the folder, and Windows does not allow such a name: "
               "the "
               "folder is neither made nor removed.",
         Utf8(record.line) + "  (a remark needs its own line, with # at its start)"});
}

void MendSlashes(Record& record) {
    const int end = EndOfNames(record);
    CString names = record.line.Left(end);
    if (names.Replace('/', '\\') == 0) return;
    record.line = names + record.line.Mid(end);
    record.mendings.push_back(
        {"forward-slash",
         JobOf(*record.kind) == Job::Folder
             ? "Windows accepts it here, but in a file record it does not separate folders. The backslash "
               "works in both."
             : "Only a backslash separates folders: the search finds the file, but setup then looks for it "
               "in "
               "the wrong folder, so that it is not copied, and not deleted at the removal.",
         Utf8(record.line)});
}

void MendEncoding(Record& record) {
    const int end = EndOfNames(record);
    const CString names = DecodedUtf8(record.line.Left(end));
    if (names.IsEmpty()) return;
    record.line = names + record.line.Mid(end);
    record.mendings.push_back(
        {"utf8-name",
         "Each byte is read as one character (Latin-1), so a letter that UTF-8 stores in "
         "two bytes becomes two other letters, and no such file is found.",
         "A name in ASCII only, for the file too."});
}

}  // namespace

Job JobOf(const RecordKind& kind) {
    if (kind.install == AtInstall::MakeFolder) return Job::Folder;
    if (kind.install != AtInstall::Nothing) return Job::Copy;
    return kind.removal == AtRemoval::DeleteFiles ? Job::Remove : Job::Setup;
}

bool StartsWithMark(LPCWSTR text) {
    return text[0] == 0xEF && text[1] == 0xBB && text[2] == 0xBF;
}

Record MendedRecord(LPCWSTR line) {
    Record record;
    record.written = record.line = line;
    MendPrefix(record);
    if (!record.kind || JobOf(*record.kind) == Job::Setup || record.Value().IsEmpty()) return record;
    MendLeadingBlank(record);
    MendComment(record);
    MendSlashes(record);
    MendEncoding(record);
    return record;
}

}  // namespace package_check
