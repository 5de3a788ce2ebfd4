// The text of an edit with its selection, its caret and its last change. It knows no windows.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace winhost {

class EditText {
  public:
    const std::u16string& Text() const { return m_text; }
    // Sets the whole text. Nothing is selected then, and nothing can be taken back.
    void Set(std::u16string_view text);

    // The selection, in code units from the start of the text. Ends the run after a move to a line whose place is unknown.
    std::size_t Start() const;
    std::size_t End() const;
    std::u16string_view Selected() const;
    // Selects; the caret is then at the end.
    void Select(std::size_t start, std::size_t end);

    // Moves the caret; if `extends`, the other end of the selection stays.
    void MoveCaret(std::size_t to, bool extends);
    // The caret goes to another line, or to the start or the end of one. Where lines are broken is not modelled, so its
    // place is unknown until something is selected.
    void LoseCaret();
    std::size_t Caret() const;
    // The places around the caret: a line break is one step.
    std::size_t Before() const;
    std::size_t After() const;
    std::size_t WordBefore() const;
    std::size_t WordAfter() const;

    // Replaces the selection.
    void Replace(std::u16string_view text);
    // Takes back the last change. What is typed, or deleted, in a row is one change. A second time it takes back the first.
    void Undo();
    bool CanUndo() const { return m_inserted > 0 || !m_deleted.empty(); }
    void ForgetUndo();

  private:
    void NoteUndo(std::size_t cchNew);

    std::u16string m_text;
    std::size_t m_start = 0;
    std::size_t m_end = 0;
    bool m_isCaretAtStart = false;
    bool m_isCaretKnown = true;
    // The last change: at this place this many code units were put in, and these were deleted.
    std::size_t m_changed = 0;
    std::size_t m_inserted = 0;
    std::u16string m_deleted;
};

}  // namespace winhost
