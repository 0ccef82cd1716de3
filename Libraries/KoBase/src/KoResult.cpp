#include <KoResult.h>

#include "CodeNames.h"

const char* KoResult::GetCodeString() const
{
    return KoBase::GetCodeName(mCode);
}
