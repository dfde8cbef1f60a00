#include <bit>
#include <cmath>

#include "persist/scan_file_reader.h"
#include "persist/scan_file_writer.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

HitRef hit(std::string path, double mtime = 1, double ctime = 1) {
    return test::hitRef({std::move(path), {"x86_64"}, 7, mtime, ctime});
}

ScanFile readBack(const ScanFile& file) {
    return decodeScanFile(encodeScanFile(file).value(), 1).value();
}

/// A file with these hits and `rest`.
std::optional<ScanFile> decodeHits(const std::string& hits, const std::string& rest = "") {
    return decodeScanFile(R"({"version":3,"date":5,"roots":[],"hits":)" + hits + rest + "}", 1);
}

/// A file of one hit with these fields.
std::optional<ScanFile> decode(const std::string& fields, const std::string& rest = "") {
    return decodeHits("[{" + fields + "}]", rest);
}

TEST(ScanFileWriter, WritesCompactTextWithEscapedSlashesAndLeavesOutWhatIsNoText) {
    auto file = test::savedScan({hit("/Applications/Foo.app/Foo", 5.5, 0)});
    file.date = 700000000.25;
    file.signatures = {{"/b", {true, "Apple"}}, {"/a", {false, "Ex \"Co\""}}};
    for (const char* bad : {"/\xff", "/\x80", "/\xc0\xaf", "/\xe0\x80\xaf", "/\xed\xa0\x80",
                            "/\xf4\x90\x80\x80", "/\xe2\x82"}) {
        file.hits.push_back(hit(bad));
        file.roots.emplace_back(bad);
        file.signatures->emplace(bad, SignInfo());
    }
    file.hits.push_back(test::hitRef({"/arch", {"i386", "\xfe"}}));
    file.signatures->emplace("/vendor", SignInfo{false, "\xfe"});
    file.hits.push_back(hit("/good"));
    EXPECT_EQ(encodeScanFile(file),
              R"({"version":3,"date":700000000.25,"roots":["\/"],"hits":[)"
              R"({"path":"\/Applications\/Foo.app\/Foo","archs":["x86_64"],)"
              R"("size":7,"mtime":5.5,"ctime":0},)"
              R"({"path":"\/good","archs":["x86_64"],"size":7,"mtime":1,"ctime":1}],)"
              R"("signatures":{"\/a":{"isApple":false,"vendor":"Ex \"Co\""},)"
              R"("\/b":{"isApple":true,"vendor":"Apple"}}})");
}

TEST(ScanFile, NumbersSurviveBitForBit) {
    auto file = test::savedScan();
    // Some of these have digit strings that look like integers, or like integers too long to read.
    for (const double number : {-0.0, 0.1, 5e-324, 2.2250738585072014e-308, 1.7976931348623157e308,
                                9007199254740993.0, 123456789012345680000.0, 18446744073709551616.0,
                                1e15, 999999999999999.9, 1e23, 712345678.123456789}) {
        file.hits.push_back(hit("/x", number, -number));
    }
    for (const auto size : {INT64_MIN, INT64_MAX}) {
        file.hits.push_back(test::hitRef({"/s", {}, size}));
    }
    const auto again = readBack(file);
    ASSERT_TRUE(sameHits(again.hits, file.hits));
    const auto bits = [](double number) { return std::bit_cast<std::uint64_t>(number); };
    for (std::size_t i = 0; i < file.hits.size(); ++i) {
        EXPECT_EQ(bits(again.hits[i]->mtime), bits(file.hits[i]->mtime)) << file.hits[i]->mtime;
        EXPECT_EQ(bits(again.hits[i]->ctime), bits(file.hits[i]->ctime)) << file.hits[i]->ctime;
    }
}

TEST(ScanFile, HostileStringsSurvive) {
    std::string everyByte;
    for (char byte = 1; byte < 127; ++byte) everyByte += byte;
    auto file = test::savedScan();
    for (const auto& text :
         {everyByte + "\x7f", std::string(), std::string(100000, '\n'),
          std::string("é€😀\xf4\x8f\xbf\xbf\xe2\x80\xa8\\u0000\"\\\""), std::string("back\\")}) {
        file.hits.push_back(hit(text));
        file.roots.push_back(text);
        file.signatures->emplace(text, SignInfo{true, text + '\0'});
    }
    const auto again = readBack(file);
    EXPECT_TRUE(sameHits(again.hits, file.hits));
    EXPECT_EQ(again.roots, file.roots);
    EXPECT_EQ(again.signatures, file.signatures);
}

TEST(ScanFileReader, TakesAnyOrderUnknownKeysAndPlainSlashes) {
    const auto file = decodeScanFile(
        R"( {"extra":[{"hits":1}], "signatures" : {"/a":{"vendor":"V","new":0,"isApple":true}},
            "hits": [{"ctime":2,"mtime":1.5,"size":9e0,"x":{},"archs":["ppc","i386"],"path":"/a"}],
            "roots":["\u002Fr"], "date":-1e2, "version":4, "date":5} )");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->version, 4);
    EXPECT_EQ(file->date, -100);
    EXPECT_EQ(file->roots, std::vector<std::string>{"/r"});
    EXPECT_EQ(*file->hits.at(0), (BinaryHit{"/a", {"ppc", "i386"}, 9, 1.5, 2}));
    EXPECT_EQ(file->signatures, (SignatureMap{{"/a", {true, "V"}}}));
}

TEST(ScanFileReader, FillsInWhatIsOptionalAndIgnoresOlderVersionsWhole) {
    const std::string fields = R"("path":"/a","archs":[],"size":0,"mtime":4.5)";
    for (const auto& read : {decode(fields), decode(fields + R"(,"ctime":null)"),
                             decode(fields, R"(,"signatures": null )")}) {
        ASSERT_TRUE(read);
        EXPECT_EQ(read->hits.at(0)->ctime, 4.5);
        EXPECT_FALSE(read->signatures);
    }
    for (const auto* start :
         {R"({"version":2,)", R"({"version":null,)", R"({"version":"3",)", "{"}) {
        EXPECT_FALSE(decodeScanFile(start + std::string(R"("date":0,"roots":[],"hits":[]})")))
            << start;
    }
}

TEST(ScanFileReader, RefusesHitsWithMissingOrWrongFields) {
    const std::string path = R"("path":"/a",)", archs = R"("archs":[],)", size = R"("size":1,)",
                      mtime = R"("mtime":1)";
    ASSERT_TRUE(decode(path + archs + size + mtime));
    for (const auto& fields :
         {archs + size + mtime, path + size + mtime, path + archs + mtime,
          path + archs + "\"size\":1", R"("path":"/a\u0000b",)" + archs + size + mtime,
          path + R"("archs":[1],)" + size + mtime, path + archs + size + R"("mtime":true)",
          path + archs + size + mtime + R"(,"ctime":"1")", path + archs + R"("size":"1",)" + mtime,
          path + archs + R"("size":1.5,)" + mtime,
          path + archs + R"("size":9223372036854775808,)" + mtime,
          path + archs + R"("size":1e19,)" + mtime}) {
        EXPECT_FALSE(decode(fields)) << fields;
    }
}

TEST(ScanFileReader, RefusesMalformedText) {
    const auto good = encodeScanFile(test::savedScan({hit("/a")})).value();
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(decodeScanFile(good.substr(0, length))) << length;
    }
    const auto with = [&](const std::string& extra) { return "{" + extra + "," + good.substr(1); };
    ASSERT_TRUE(decodeScanFile(with(R"("x":[])")));
    for (const auto& bad :
         {good + "x", good + good, "[" + good + "]", std::string(1, '\0'), with(R"("x":tru)"),
          with(R"("x":[1,])"), with(R"("x":"\ud800")"), with("\"x\":\"\xff\""), with(""),
          std::string(1000000, '{'),
          with(R"("x":)" + std::string(1000000, '[') + std::string(1000000, ']'))}) {
        EXPECT_FALSE(decodeScanFile(bad)) << bad.substr(0, 200);
    }
    EXPECT_FALSE(decodeScanFile(R"({"version":3,"date":0,"roots":[]})"));
    const std::string item = R"({"path":"/[\\\"}","archs":[],"size":0,"mtime":0})";
    EXPECT_TRUE(decodeHits("[" + item + " , " + item + "]"));
    EXPECT_TRUE(decodeHits(" [ ] "));
    for (const auto& bad : {"[" + item + ",]", "[," + item + "]", "[" + item + " " + item + "]",
                            "[" + item + "}", "{" + item + "}", item, std::string("[ , ]")}) {
        EXPECT_FALSE(decodeHits(bad)) << bad;
    }
}

}  // namespace
}  // namespace vestigo
