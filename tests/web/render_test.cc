// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What becomes of texts, tables and calls on a page.
#include "tools/capi-web/render.h"

#include <gmock/gmock.h>

#include "tools/capi-web/chart.h"
#include "tools/capi-web/key_search.h"
#include "tools/capi-web/log_ring.h"

namespace tools::web {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string text_as_html(std::string_view text) { return Html().text(text).take(); }

TEST(Markup, ATextIsNone) {
  EXPECT_EQ(text_as_html("<b a=\"x\">'&"), "&lt;b a=&quot;x&quot;&gt;&#39;&amp;");
  EXPECT_EQ(Html().raw("<a").attr("href", "\"><script>").raw(">").take(),
            "<a href=\"&quot;&gt;&lt;script&gt;\">");
}

TEST(Markup, WhatHtmlCannotHaveIsTheSignForThat) {
  EXPECT_EQ(text_as_html("a\x01\x7f\xff"
                         "b\n\tc"),
            "a\ufffd\ufffd\ufffdb\n\tc");
  EXPECT_EQ(text_as_html("\u00e4\u20ac"), "\u00e4\u20ac");
}

TEST(Markup, AnAddressKeepsWhatIsPlainOnly) {
  EXPECT_EQ(in_address("a-Z_0.9"), "a-Z_0.9");
  EXPECT_EQ(in_address("+1 &\"<\xc3\xa4"), "%2B1%20%26%22%3C%C3%A4");
}

TEST(Tables, FlagsAndTimesAreForPeople) {
  Table table("lines", {{"line", Type::Number}, {"enabled", Type::Flag}, {"since", Type::Time}});
  table.add({"1", "1", "2026-11-22T05:10:00Z"});
  table.add({"2", "0", "17"});
  Html html;
  add_table(html, table, {.caption = "Lines", .id = "t"});
  const std::string text = html.take();
  EXPECT_THAT(text, HasSubstr("<th scope=\"row\" data-label=\"Line\">1</th><td "
                              "data-label=\"Enabled\">yes</td><td data-label=\"Since\"><time "
                              "datetime=\"2026-11-22T05:10:00Z\">2026-11-22 05:10</time></td>"));
  EXPECT_THAT(text,
              HasSubstr("<td data-label=\"Enabled\">no</td><td data-label=\"Since\">17</td>"));
}

TEST(Tables, ShowTheColumnsThatAreAskedForAndCellsOfTheirOwn) {
  Table table("t", {{"one"}, {"two"}, {"three"}});
  table.add({"1", "2", "3"});
  Html html;
  add_table(html, table,
            {.caption = "T",
             .id = "t",
             .only = {"one", "three"},
             .cell = [](Html& to, const std::string& field, const std::vector<std::string>& row) {
               if (field == "three") to.raw("<b>").text(row[1]).raw("</b>");
             }});
  const std::string text = html.take();
  EXPECT_THAT(text, HasSubstr("<td data-label=\"Three\"><b>2</b></td>"));
  EXPECT_THAT(text, Not(HasSubstr("Two")));
}

capi_call_log_record call(unsigned type, uint32_t start) {
  capi_call_log_record record{};
  record.calltype = type;
  record.calltimestart = start;
  return record;
}

constexpr int64_t kNow = 1795342320;  // 2026-11-22
constexpr uint32_t kDay = 86400;

TEST(Chart, HasABarOfPiecesForEachDayOfTheLastTwoWeeks) {
  const auto now = static_cast<uint32_t>(kNow);
  Html html;
  add_chart(html,
            {call(0, now), call(0, now), call(2, now), call(1, now - 13 * kDay),
             call(1, now - 14 * kDay), call(1, now + kDay), call(1, 7), call(7, now)},
            kNow);
  const std::string text = html.take();
  EXPECT_THAT(text, HasSubstr("<rect class=\"type-0\" x=\"526\" y=\"56\" width=\"28\" "
                              "height=\"80\"/><rect class=\"type-2\" x=\"526\" y=\"16\" "
                              "width=\"28\" height=\"40\"/>"));
  EXPECT_THAT(text, HasSubstr("<rect class=\"type-1\" x=\"6\" y=\"96\" width=\"28\" "
                              "height=\"40\"/>"));
  EXPECT_THAT(text, HasSubstr("from 2026-11-09 to 2026-11-22"));
  EXPECT_THAT(text, HasSubstr(">2026-11-22</th><td class=\"num\" data-label=\"Type 0\">2</td>"));
}

TEST(KeySearch, FindsTheKeysThatHaveAllWords) {
  const auto labels = [](const std::vector<const Key*>& keys) {
    std::vector<std::string> result;
    for (const Key* key : keys) result.push_back(key->label());
    return result;
  };
  EXPECT_THAT(labels(found_keys("", " DISPLAY  line_1 ")), ElementsAre("sip_line_1.display_name"));
  EXPECT_THAT(labels(found_keys("sip_line_2", "display_name")),
              ElementsAre("sip_line_2.display_name"));
  EXPECT_THAT(labels(found_keys("", "display nosuchword")), ElementsAre());
  EXPECT_EQ(found_keys("", "").size(), all_keys().size());
}

TEST(Log, KeepsTheLastLinesOfWhatIsAmiss) {
  for (int i = 0; i < 300; ++i) keep_log(4, ("line " + std::to_string(i) + "\n").c_str());
  keep_log(6, "[sip_line_1][option_sip_line_auth_password][secret]");
  const Table log = log_table();
  ASSERT_EQ(log.rows().size(), kLogLines);
  EXPECT_EQ(log.rows().front()[2], "line 100");
  EXPECT_EQ(log.rows().back()[2], "line 299");
  EXPECT_EQ(log.rows().back()[1], "4");
}

}  // namespace
}  // namespace tools::web
