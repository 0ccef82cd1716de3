#include <KuUtilsLib/Result.h>

#include "CodeNames.h"

const char* KuUtilsLib::Result::GetCodeString() const
{
    return KoBase::GetCodeName(mCode);
}
