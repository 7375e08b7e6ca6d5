#include "HSLValue.h"

#include "hslog/record/HSLRecord.h"

namespace HSL {

int CValue::Serialize(CCircularBuffer* buffer) const
{
    WriteValue(*buffer, MeasureValue(*this));
    return 0;
}

} // namespace HSL
