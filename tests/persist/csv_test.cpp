#include "persist/csv.h"

#include "tests/support/test.h"

namespace vestigo {
namespace {

constexpr double day = 86400;

/// The text of one group, without the header.
std::string line(BundleGroup group, const SignatureMap& signatures = {}) {
    GroupList groups;
    groups.add(std::move(group));
    return csvText(groups, signatures).substr(csvText({}, {}).size());
}

TEST(Csv, WritesAHeaderAndOneLinePerGroup) {
    EXPECT_EQ(csvText({}, {}),
              "category,bundle,vendor,fix,cpu,apple_signed,created,legacy_count,path\n");
    const double june2019 = 581299200;  // 2019-06-04 00:00:00
    const std::string root = "/Library/Example/Example Agent";
    const HitList hits = {test::hitRef({"/x", {"x86_64"}, 0, 0, june2019 + day}),
                          test::hitRef({"/x", {"x86_64", "i386"}, 0, 0, june2019 + 5}),
                          test::hitRef({"/x", {"x86_64"}})};
    EXPECT_EQ(line({root, false, Category::helper, hits, Fix::manual, false},
                   {{root, {false, "Example Corp"}}}),
              R"("Helper","Example Agent","Example Corp",Manual,"i386, x86_64",false,2019-06-04,3,)"
              "\"/Library/Example/Example Agent\"\n");
}

TEST(Csv, DoublesQuotesAndLeavesOtherBytesAlone) {
    const std::string root = "/\"Best\"\n\xff,é.app";
    EXPECT_EQ(line({root, true, Category::application, {}, Fix::apple, false},
                   {{root, {true, "A, \"B\""}}, {"/other", {}}}),
              "\"App\",\"\"\"Best\"\"\n\xff,é.app\",\"A, \"\"B\"\"\",Apple,\"\",true,,0,"
              "\"/\"\"Best\"\"\n\xff,é.app\"\n");
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
        const HitList hits = {test::hitRef({"/", {"ppc"}, 0, 0, time})};
        EXPECT_EQ(line({"/", false, Category::cliTool, hits, Fix::homebrew, false}),
                  "\"CLI tool\",\"/\",\"\",brew,\"ppc\",false," + date + ",1,\"/\"\n");
    }
}

}  // namespace
}  // namespace vestigo
