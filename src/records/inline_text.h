// InlineText: a UTF-16 text that keeps up to kInline units inside the object
// and goes to the heap only for a longer one.
//
// A file record holds its path and name in two of these. A search makes a
// record for every row and the client drops them all again; with the texts
// inside the record (which comes from the record pool), a row costs no call
// to the general allocator at all, where two strings of their own cost two
// allocations and two frees. Paths and names longer than the inline room
// still work, on a heap buffer that the text keeps until it is destroyed.
//
// Not copyable: a record is never copied, and a copy would have to decide
// which buffer to point at. Not thread-safe; the record's lock guards it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zandb4 {

template <size_t kInline>
class InlineText {
public:
    InlineText() = default;
    ~InlineText() {
        if (m_data != m_inline) delete[] m_data;
    }
    InlineText(const InlineText&) = delete;
    InlineText& operator=(const InlineText&) = delete;

    // Copies text in. A text longer than the room held so far gets a heap
    // buffer of its exact length (std::bad_alloc when there is none, with
    // the old value kept).
    void Assign(std::u16string_view text) {
        if (text.size() > m_capacity) {
            char16_t* grown = new char16_t[text.size()];
            text.copy(grown, text.size());
            if (m_data != m_inline) delete[] m_data;
            m_data = grown;
            m_capacity = text.size();
        } else if (!text.empty()) {
            // Moved, not copied: text may be a part of this text's own value.
            std::char_traits<char16_t>::move(m_data, text.data(), text.size());
        }
        m_length = text.size();
    }
    void Empty() { m_length = 0; }

    bool IsEmpty() const { return m_length == 0; }
    size_t Length() const { return m_length; }
    std::u16string_view View() const { return {m_data, m_length}; }
    // Whether the value lives on the heap; for tests.
    bool OnHeap() const { return m_data != m_inline; }

private:
    char16_t* m_data = m_inline;
    size_t m_length = 0;
    size_t m_capacity = kInline;
    char16_t m_inline[kInline];
};

}  // namespace zandb4
