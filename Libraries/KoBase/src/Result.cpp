#include <KuUtilsLib/Result.h>

#include "CodeNames.h"

const char* KuUtilsLib::Result::GetCodeString() const
{
    return KoBase::GetCodeName(mCode);
}

std::ostream& KuUtilsLib::operator<<(std::ostream& aStream, const Result& aResult)
{
    return KoBase::WriteCode(aStream, aResult.GetCode(), aResult.GetDescription());
}
