#include "zkscripttags.h"

#include <zkcharacter.h>

#include <gtest/gtest.h>

TEST(ZkScriptTags, AgreeWithHarfBuzzOnEveryCharacter)
{
    hb_unicode_funcs_t *const unicode = hb_unicode_funcs_get_default();
    for (char32_t c = 0; c < 0x110000; ++c) {
        const int script = static_cast<int>(zkCharacter(c).script);
        ASSERT_EQ(zkScriptTag(script), hb_unicode_script(unicode, c)) << std::hex << unsigned(c);
    }
}

TEST(ZkScriptTags, AreUnknownForANumberThatIsNoScript)
{
    EXPECT_EQ(zkScriptTag(-1), HB_SCRIPT_UNKNOWN);
    EXPECT_EQ(zkScriptTag(1000), HB_SCRIPT_UNKNOWN);
}
