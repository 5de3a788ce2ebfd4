#include "object.h"

const CRuntimeClass CObject::classCObject = {"CObject", nullptr};

bool CObject::IsKindOf(const CRuntimeClass* kind) const {
    for (const CRuntimeClass* own = GetRuntimeClass(); own; own = own->m_pBaseClass)
        if (own == kind) return true;
    return false;
}
