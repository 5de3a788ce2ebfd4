#include "collections.h"

IMPLEMENT_DYNAMIC(CDWordArray, CObject)

void CDWordArray::SetSize(int size) {
    if (size < 0) throw CInvalidArgException();
    m_items.resize(static_cast<std::size_t>(size));
}

int CDWordArray::Add(DWORD item) {
    m_items.push_back(item);
    return GetSize() - 1;
}

DWORD CDWordArray::GetAt(int index) const {
    if (index < 0 || index >= GetSize()) throw CInvalidArgException();
    return m_items[static_cast<std::size_t>(index)];
}

void CDWordArray::SetAt(int index, DWORD item) {
    if (index < 0 || index >= GetSize()) throw CInvalidArgException();
    m_items[static_cast<std::size_t>(index)] = item;
}
