#include "persist/csv.h"

#include "tests/support/test.h"

namespace vestigo {
namespace {

constexpr double day = 86400;
constexpr auto header = "category,bundle,vendor,fix,cpu,apple_signed,created,legacy_count,path\n";

TEST(Csv, WritesAHeaderAndOneLinePerGroupInWhichQuotesAreDoubled) {
    const double june2019 = 581299200;  // 2019-06-04 00:00:00
    const std::string agent = "/Library/Example/Example Agent";
    const std::string best = "/\"Best\"\n\xff,é.app";
    const HitList hits = {test::hitRef({"/x", {"x86_64"}, 0, 0, june2019 + day}),
                          test::hitRef({"/x", {"x86_64", "i386"}, 0, 0, june2019 + 5}),
                          test::hitRef({"/x", {"x86_64"}})};
    GroupList groups;
    groups.add({agent, false, Category::helper, hits, Fix::manual, false});
    groups.add({best, true, Category::application, {}, Fix::apple, false});
    EXPECT_EQ(
        csvText(groups, {{agent, {false, "Example Corp"}}, {best, {true, "A, \"B\""}}}),
        header + std::string("\"App\",\"\"\"Best\"\"\n\xff,é.app\",\"A, \"\"B\"\"\",Apple,\"\","
                             "true,,0,\"/\"\"Best\"\"\n\xff,é.app\"\n"
                             R"("Helper","Example Agent","Example Corp",Manual,"i386, x86_64",)"
                             "false,2019-06-04,3,\"/Library/Example/Example Agent\"\n"));
}

TEST(Csv, WritesADateOfFourDigitYearsInUtcOrNone) {
    const double year10000 = day * 2921574;
    const std::pair<double, std::string> dates[] = {
        {5e-324, "2001-01-01"},
        {day * 59 - 0.001, "2001-02-28"},
        {day * (365 * 3 + 59), "2004-02-29"},
        {year10000 - 1, "9999-12-31"},
        {year10000, ""},
        {std::numeric_limits<double>::infinity(), ""},
        {std::numeric_limits<double>::quiet_NaN(), ""},
    };
    for (const auto& [time, date] : dates) {
        GroupList groups;
        groups.add({"/", false, Category::cliTool, {test::hitRef({"/", {"ppc"}, 0, 0, time})}});
        EXPECT_EQ(csvText(groups, {}),
                  header + ("\"CLI tool\",\"/\",\"\",Manual,\"ppc\",false," + date + ",1,\"/\"\n"));
    }
}

}  // namespace
}  // namespace vestigo
