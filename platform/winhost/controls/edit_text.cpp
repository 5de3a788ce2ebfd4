#include "controls/edit_text.h"

#include <algorithm>
#include <tuple>

#include "core/machine.h"

namespace winhost {

namespace {

constexpr std::u16string_view kLineBreak = u"\r\n";

bool IsSpace(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

// Some characters have several code units, which the caret doesn't part.
std::size_t Whole(std::u16string_view text, std::size_t place) {
    if (place < text.size() && text[place] >= 0xDC00 && text[place] < 0xE000)
        NotModelled("Edit", "a caret beside a character of two code units");
    return place;
}

}  // namespace

void EditText::Set(std::u16string_view text) {
    m_text = text;
    Select(0, 0);
    ForgetUndo();
}

std::size_t EditText::Start() const {
    if (!m_isCaretKnown) NotModelled("Edit", "the place of the caret after a move by lines");
    return m_start;
}

std::size_t EditText::End() const {
    (void)Start();
    return m_end;
}

std::u16string_view EditText::Selected() const {
    return std::u16string_view(m_text).substr(Start(), End() - Start());
}

void EditText::Select(std::size_t start, std::size_t end) {
    std::tie(m_start, m_end) = std::minmax(start, end);
    m_isCaretAtStart = false;
    m_isCaretKnown = true;
}

void EditText::MoveCaret(std::size_t to, bool extends) {
    const std::size_t other = !extends ? to : m_isCaretAtStart ? End() : Start();
    Select(to, other);
    m_isCaretAtStart = to < other;
}

void EditText::LoseCaret() {
    m_isCaretKnown = m_isCaretKnown && m_text.empty();
}

std::size_t EditText::Caret() const {
    return m_isCaretAtStart ? Start() : End();
}

std::size_t EditText::Before() const {
    const std::size_t caret = Caret();
    if (caret == 0) return 0;
    const bool isBreak = caret >= 2 && m_text.compare(caret - 2, 2, kLineBreak) == 0;
    return Whole(m_text, caret - (isBreak ? 2 : 1));
}

std::size_t EditText::After() const {
    const std::size_t caret = Caret();
    if (caret == m_text.size()) return caret;
    return Whole(m_text, caret + (m_text.compare(caret, 2, kLineBreak) == 0 ? 2 : 1));
}

std::size_t EditText::WordBefore() const {
    std::size_t place = Caret();
    while (place > 0 && IsSpace(m_text[place - 1]))
        --place;
    while (place > 0 && !IsSpace(m_text[place - 1]))
        --place;
    return place;
}

std::size_t EditText::WordAfter() const {
    std::size_t place = Caret();
    while (place < m_text.size() && !IsSpace(m_text[place]))
        ++place;
    while (place < m_text.size() && IsSpace(m_text[place]))
        ++place;
    return place;
}

void EditText::NoteUndo(std::size_t cchNew) {
    if (m_start < m_end) {
        const bool isRow = m_inserted == 0 && !m_deleted.empty();
        const std::u16string deleted = m_text.substr(m_start, m_end - m_start);
        if (isRow && m_start == m_changed)
            m_deleted += deleted;
        else if (isRow && m_end == m_changed)
            m_deleted = deleted + m_deleted;
        else
            m_deleted = deleted;
        m_changed = m_start;
        m_inserted = 0;
    }
    if (cchNew == 0) return;
    if (m_start == m_changed + m_inserted && CanUndo()) {
        m_inserted += cchNew;
        return;
    }
    m_changed = m_start;
    m_inserted = cchNew;
    m_deleted.clear();
}

void EditText::Replace(std::u16string_view text) {
    (void)Start();
    NoteUndo(text.size());
    m_text.replace(m_start, m_end - m_start, text);
    const std::size_t end = m_start + text.size();
    Select(end, end);
}

void EditText::Undo() {
    const std::u16string inserted = m_text.substr(m_changed, m_inserted);
    m_text.replace(m_changed, m_inserted, m_deleted);
    m_inserted = m_deleted.size();
    m_deleted = inserted;
    Select(m_changed, m_changed + m_inserted);
}

void EditText::ForgetUndo() {
    m_inserted = 0;
    m_deleted.clear();
}

}  // namespace winhost
