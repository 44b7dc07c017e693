// Names of objects: which folder they lie in, and what their file is called.
#pragma once

#include "platform/namespacefolder.h"
#include "platform/object/objectlayout.h"

#include <string_view>

// A file name in the folder.
using ObjectLeaf = std::array<char, 256>;

class ObjectName
{
public:
    // pName  may be null. Errors, with IsGood() false: 206 longer than 259 characters, 3 a backslash in it, 123 a prefix
    // alone.
    explicit ObjectName( LPCSTR pName ) noexcept;

    bool IsGood() const noexcept { return m_fGood; }
    // Null or empty: no name.
    bool IsEmpty() const noexcept { return m_aText.empty(); }
    NamespaceScope GetScope() const noexcept { return m_eScope; }
    // Without the prefix; the caller's characters.
    std::string_view GetText() const noexcept { return m_aText; }
    ULONGLONG GetHash() const noexcept { return m_ullHash; }
    // "object-" and the name, where characters that a file name is better without are %XX. Of a long name only the
    // beginning stands there, and a hash of all of it.
    ObjectLeaf MakeLeaf() const noexcept;

private:
    std::string_view m_aText;
    NamespaceScope m_eScope = NamespaceScope::Local;
    ULONGLONG m_ullHash = 0;
    bool m_fGood = true;
};

constexpr std::string_view OBJECT_LEAF = "object-";
