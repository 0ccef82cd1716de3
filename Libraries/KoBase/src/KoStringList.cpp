#include <KoStringList.h>

void KoStringList::Clear()
{
    mTexts.clear();
    mNext = 0;
}

KoString* KoStringList::GetFirst()
{
    mNext = 0;
    return GetNext();
}

KoString* KoStringList::GetNext()
{
    return mNext < mTexts.size() ? &mTexts[mNext++] : nullptr;
}
