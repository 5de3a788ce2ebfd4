// CDWordArray: a growing array of 32-bit numbers whose indexing is checked.
#pragma once

#include <windows.h>

#include <vector>

#include "object.h"

// Thrown by an access outside a collection. Nothing in the program catches it, so it ends the process.
class CInvalidArgException {};

class CDWordArray : public CObject {
    DECLARE_DYNAMIC(CDWordArray)

  public:
    int GetSize() const { return static_cast<int>(m_items.size()); }
    // Sets the size; new items are 0. A negative size throws CInvalidArgException.
    void SetSize(int size);
    int Add(DWORD item);
    // Access to one item. An index outside 0 to GetSize() - 1 throws CInvalidArgException.
    DWORD GetAt(int index) const;
    void SetAt(int index, DWORD item);
    DWORD operator[](int index) const { return GetAt(index); }
    // The items as one array; null when there are none.
    DWORD* GetData() { return m_items.empty() ? nullptr : m_items.data(); }

  private:
    std::vector<DWORD> m_items;
};
