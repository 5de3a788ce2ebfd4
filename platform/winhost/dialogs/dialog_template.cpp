#include "dialogs/dialog_template.h"

#include "core/bytes.h"
#include "core/machine.h"
#include "core/text.h"
#include "windows/window_texts.h"
#include <winhost.h>

namespace winhost {

namespace {

constexpr WORD kExtendedVersion = 1;
constexpr WORD kButtonClass = 0x80;
constexpr WORD kEditClass = 0x81;
constexpr WORD kStaticClass = 0x82;
constexpr WORD kPoints = 8;

// Reads one field after the other. After the end it returns zeros, and the reader is no longer good.
class Reader {
  public:
    explicit Reader(std::string_view bytes) : m_bytes(bytes) {}
    bool good() const { return m_offset <= m_bytes.size(); }
    WORD Word() { return Number<WORD>(); }
    SHORT Short() { return static_cast<SHORT>(Word()); }
    DWORD Dword() { return Number<DWORD>(); }
    void Skip(std::size_t cbSkipped) { m_offset += cbSkipped; }
    void Align() { m_offset = Align4(m_offset); }
    // Reads a text. A resource's number becomes 0xFFFF and the number.
    std::u16string Text() {
        std::u16string text;
        if (WordAt(m_bytes, m_offset) == kNumberMark) {
            text = {kNumberMark, WordAt(m_bytes, m_offset + 2)};
            Skip(4);
            return text;
        }
        while (const WORD unit = Word())
            text += static_cast<char16_t>(unit);
        return text;
    }

  private:
    template <class Field>
    Field Number() {
        const Field number = NumberAt<Field>(m_bytes, m_offset);
        m_offset += sizeof number;
        return number;
    }

    std::string_view m_bytes;
    std::size_t m_offset = 0;
};

std::u16string ClassName(const std::u16string& text) {
    if (text.empty() || text.front() != kNumberMark) return text;
    switch (text.back()) {
        case kButtonClass:
            return u"Button";
        case kEditClass:
            return u"Edit";
        case kStaticClass:
            return u"Static";
        default:
            NotModelled("CreateDialogParamW", "a control of class " + std::to_string(text.back()));
    }
}

template <class Placed>
void ReadPlace(Reader& reader, Placed& placed) {
    placed.x = reader.Short();
    placed.y = reader.Short();
    placed.cx = reader.Short();
    placed.cy = reader.Short();
}

// The font decides how large a dialog unit is.
void ReadFont(Reader& reader, bool extended, DialogTemplate& dialog) {
    // These are the units of the system's own font, for dialogs without a font.
    dialog.baseX = 8;
    dialog.baseY = 16;
    if (!(dialog.style & DS_SETFONT)) return;
    const WORD points = reader.Word();
    if (extended) reader.Skip(sizeof(WORD) + 2);  // weight, italic flag and character set
    const std::u16string face = reader.Text();
    if (!reader.good()) return;
    if (points != kPoints || (!SameName(face, u"MS Sans Serif") && !SameName(face, u"MS Shell Dlg")))
        NotModelled("CreateDialogParamW", "the font " + Utf8(face));
    dialog.baseX = 6;
    dialog.baseY = 13;
}

DialogItem ReadItem(Reader& reader, bool extended) {
    DialogItem item = {};
    reader.Align();
    if (extended) {
        (void)reader.Dword();  // help id
        item.exStyle = reader.Dword();
        item.style = reader.Dword();
    } else {
        item.style = reader.Dword();
        item.exStyle = reader.Dword();
    }
    ReadPlace(reader, item);
    item.id = extended ? reader.Dword() : reader.Word();
    const std::u16string kind = reader.Text();
    item.title = reader.Text();
    reader.Skip(reader.Word());  // the control's own data
    if (reader.good()) item.kind = ClassName(kind);
    return item;
}

}  // namespace

std::optional<DialogTemplate> ParseDialog(std::string_view bytes) {
    Reader reader(bytes);
    DialogTemplate dialog = {};
    const bool extended = WordAt(bytes, 2) == kNumberMark;
    if (extended) {
        if (reader.Word() != kExtendedVersion) return std::nullopt;
        reader.Skip(sizeof(WORD) + sizeof(DWORD));  // mark and help id
        dialog.exStyle = reader.Dword();
        dialog.style = reader.Dword();
    } else {
        dialog.style = reader.Dword();
        dialog.exStyle = reader.Dword();
    }
    const WORD count = reader.Word();
    ReadPlace(reader, dialog);
    const std::u16string menu = reader.Text();
    const std::u16string kind = reader.Text();
    dialog.title = reader.Text();
    ReadFont(reader, extended, dialog);
    if (!reader.good()) return std::nullopt;
    if (!menu.empty() || !kind.empty()) NotModelled("CreateDialogParamW", "a menu or a class of its own");
    for (WORD i = 0; i < count; ++i) {
        dialog.items.push_back(ReadItem(reader, extended));
        if (!reader.good()) return std::nullopt;
    }
    return dialog;
}

}  // namespace winhost
