#include <KoResult.h>

#include "CodeNames.h"

const char* KoResult::GetCodeString() const
{
    return KoBase::GetCodeName(mCode);
}

std::ostream& operator<<(std::ostream& aStream, const KoResult& aResult)
{
    return KoBase::WriteCode(aStream, aResult.GetCode(), aResult.GetDescription().GetAscii());
}
