#pragma once

#include <KoString.h>

#include <cstddef>
#include <vector>

class KoStringList
{
public:
    void Add(const KoString& aText) { mTexts.push_back(aText); }
    void Clear() { mTexts.clear(); }

    KoString* GetFirst()
    {
        mNext = 0;
        return GetNext();
    }

    KoString* GetNext() { return mNext < mTexts.size() ? &mTexts[mNext++] : nullptr; }

private:
    std::vector<KoString> mTexts;
    std::size_t mNext = 0;
};
