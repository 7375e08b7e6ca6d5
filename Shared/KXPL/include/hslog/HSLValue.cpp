#include "HSLValue.h"

#include "HSLRecord.h"

namespace HSL {

int CValue::Serialize(CCircularBuffer* buffer) const
{
    WriteValue(*buffer, MeasureValue(*this));
    return 0;
}

} // namespace HSL
