#include "HSLValue.h"

#include "hslog/record/HSLRecord.h"

namespace HSL {

int CValue::Serialize(CCircularBuffer* buffer) const
{
    Writes writes { *buffer };
    Visit(writes, Measured(*this));
    return 0;
}

} // namespace HSL
