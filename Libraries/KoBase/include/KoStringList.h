#pragma once

#include <KoBaseExport.h>
#include <KoString.h>

#include <cstddef>
#include <vector>

/// An ordered list of texts with one built-in cursor.
///
/// GetFirst() puts the cursor on the first text and GetNext() moves it on:
/// @code
/// for (KoString* entry = list.GetFirst(); entry != nullptr; entry = list.GetNext())
/// @endcode
/// One object is used by one thread at a time.
class KO_BASE_API KoStringList
{
public:
    /// Appends a copy of aText. Pointers handed out before become invalid.
    void Add(const KoString& aText) { mTexts.push_back(aText); }

    /// Removes every text. Pointers handed out before become invalid.
    void Clear();

    /// The first text, or NULL when the list is empty. The list keeps ownership.
    KoString* GetFirst();

    /// The text after the one handed out last, the first one when none was, or NULL at the end. The list keeps
    /// ownership.
    KoString* GetNext();

private:
    std::vector<KoString> mTexts;
    std::size_t mNext = 0;
};
