// CObject: the base of the framework's classes, with run-time class information.
#pragma once

// Describes one class: its name as spelled in the source, and its base class (null for CObject).
struct CRuntimeClass {
    const char* m_lpszClassName;
    const CRuntimeClass* m_pBaseClass;
};

class CObject {
  public:
    static const CRuntimeClass classCObject;

    virtual ~CObject() = default;
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    // Returns the description of the object's own class.
    virtual const CRuntimeClass* GetRuntimeClass() const { return &classCObject; }

  protected:
    CObject() = default;
};

#define DECLARE_DYNAMIC(class_name)                         \
  public:                                                   \
    static const CRuntimeClass class##class_name;           \
    const CRuntimeClass* GetRuntimeClass() const override { \
        return &class##class_name;                          \
    }
#define IMPLEMENT_DYNAMIC(class_name, base_name) \
    const CRuntimeClass class_name::class##class_name = {#class_name, &base_name::class##base_name};
#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)
