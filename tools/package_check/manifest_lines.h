// The lines of a manifest as the program reads them, with marks for text that the program does not see.
#pragma once

#include <string>

#include "engine/manifest.h"

namespace package_check {

struct ManifestLine {
    WCHAR text[kLineChars];  // as ReadLogLine returns it
    unsigned number = 0;     // in the file, from 1
    bool isCut = false;      // the line is longer than one read, and this is its first piece
    bool continues = false;  // a further piece of such a line
    bool hidesText = false;  // a null byte hides the rest of the piece
};

class ManifestLines {
  public:
    // `bytes` is the whole content of `file`, which is open as text and at its start. Both must outlive this object.
    ManifestLines(const std::string& bytes, FILE* file);

    // Returns false at the end of what the program reads.
    bool Next(ManifestLine& line);

    // Whether an end mark (byte 1A) keeps text from being read, and in which line.
    bool EndsEarly() const;
    unsigned EndLine() const { return m_number; }

  private:
    const std::string& m_bytes;
    FILE* m_file;
    std::size_t m_end;     // of the text
    std::size_t m_at = 0;  // where the next read begins
    std::size_t m_lineFeed = 0;
    unsigned m_number = 1;
    bool m_inside = false;
};

}  // namespace package_check
