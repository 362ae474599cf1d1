#include "markup_text.h"

#include <gtest/gtest.h>

namespace {

TEST(MarkupText, SignsOfMarkupBecomeEntities) {
  EXPECT_EQ(host::markupText("a < b & \"c\" > d"), "a &lt; b &amp; &quot;c&quot; &gt; d");
  EXPECT_EQ(host::markupText("tab\tline\nK\u00fcche"), "tab\tline\nK\u00fcche");
  EXPECT_EQ(host::markupText(std::string_view("a\0\x01\x1f"
                                              "b",
                                              5)),
            "ab")
      << "not allowed in XML";
}

} // namespace
