// The fifteen types of values.
#include "hslog/HSL.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct TypeCase {
    const char* name;
    HandMadeRecord value;
    const char* ownFormat;
    const char* ownText;
    const char* format;
    const char* text;
};

// Values whose upper half must not show under the formats of their types.
const long kLongValue = static_cast<long>(0x0123456780ABCDEFLL);
const std::uintptr_t kPointerValue = static_cast<std::uintptr_t>(0x0123456780ABCDEFULL);

HandMadeRecord value()
{
    return HandMadeRecord();
}

const TypeCase kTypes[] = {
    { "Int8", value().Int8(-5), "%hd", "-5", "%d", "-5" },
    { "Int16", value().Int16(-300), "%hd", "-300", "%06d", "-00300" },
    { "Int32", value().Int32(-70000), "%d", "-70000", "%i", "-70000" },
    { "Int64", value().Int64(-5000000000LL), "%lld", "-5000000000", "%13lld", "  -5000000000" },
    { "UInt8", value().UInt8(200), "%hu", "200", "%x", "c8" },
    { "UInt16", value().UInt16(60000), "%hu", "60000", "%u", "60000" },
    { "UInt32", value().UInt32(4000000000u), "%u", "4000000000", "%X", "EE6B2800" },
    { "UInt64", value().UInt64(18446744073709551615ull), "%llu", "18446744073709551615", "%llx",
      "ffffffffffffffff" },
    { "Float", value().Float(0.1f), "%f", "0.100000", "%.9g", "0.100000001" },
    { "Double", value().Double(0.1), "%g", "0.1", "%.3e", "1.000e-01" },
    { "Long", value().Long(kLongValue), "%d", "-2136224273", "%ld",
      sizeof(long) == 8 ? "81985529065491951" : "-2136224273" },
    { "Pointer", value().Pointer(kPointerValue), "0x%x", "0x80abcdef", "%p",
      sizeof(void*) == 8 ? "0x123456780abcdef" : "0x80abcdef" },
    { "String", value().String("text"), "%s", "text", "%.2s", "te" },
    { "WString", value().WString(L"wide"), "%S", "wide", "%6S", "  wide" },
    { "UTF16String", value().UTF16String(u"units"), "%S", "units", "<%-7S>", "<units  >" },
};

HandMadeRecord with(const std::string& format, const TypeCase& type)
{
    return inlineRecord(format, 1).Append(type.value);
}

void PrintTo(const TypeCase& type, std::ostream* stream)
{
    *stream << type.name;
}

class StringifyType : public testing::TestWithParam<TypeCase> { };

} // namespace

TEST_P(StringifyType, HasItsOwnFormat)
{
    RenderRing ring;
    EXPECT_EQ(formatsUsedFor(ring, with("v", GetParam())),
              (std::vector<std::string> { "v", " (", GetParam().ownFormat, ") " }));
}

TEST_P(StringifyType, ShowsUnderItsOwnFormat)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(with("v", GetParam())), std::string("v (") + GetParam().ownText + ") ");
}

TEST_P(StringifyType, ShowsUnderTheFormatsConversion)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(with(std::string("v=") + GetParam().format + ".", GetParam())),
              std::string("v=") + GetParam().text + ".");
}

TEST_P(StringifyType, TakesItsPayloadExactly)
{
    RenderRing ring;
    ring.Render(with("%d", GetParam()).Byte(77), false);
    EXPECT_EQ(ring.Left(), 1u);
}

TEST_P(StringifyType, IsEmptyWithoutRendering)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(with("v", GetParam()), false), "");
    EXPECT_EQ(ring.Left(), 0u);
}

INSTANTIATE_TEST_SUITE_P(AllTags, StringifyType, testing::ValuesIn(kTypes),
                         [](const testing::TestParamInfo<TypeCase>& tested) { return tested.param.name; });
