#include "Foundation/URL.h"
#include "Foundation/UUID.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tarnwick {
namespace {

TEST(URLTest, TakesPathsAsTheyAre) {
    EXPECT_EQ(URL::file("-rf").path(), std::filesystem::current_path().native() + "/-rf");
    EXPECT_EQ(URL::file("/a//").path(), "/a");
    EXPECT_EQ(URL::file("/").path(), "/");

    const URL photo = URL::file("/tmp/x.y/Photo.tar.JPG");
    EXPECT_EQ(photo.lastPathComponent(), "Photo.tar.JPG");
    EXPECT_EQ(photo.pathExtension(), "JPG");
    EXPECT_EQ(photo.stem(), "Photo.tar");
    EXPECT_EQ(photo.deletingLastPathComponent().path(), "/tmp/x.y");
    EXPECT_EQ(URL::file("/tmp/x.y/name").pathExtension(), "");
    EXPECT_EQ(URL::file("/tmp/.png").pathExtension(), "");
}

TEST(URLTest, ReadsOnlyLocalFileURIs) {
    EXPECT_EQ(URL::parse("file:///tmp/a%20b%E5%A1%94%FF")->path(), "/tmp/a b塔\xFF");
    EXPECT_EQ(URL::parse("FILE://localhost/a")->path(), "/a");
    EXPECT_EQ(URL::parse("file:/a")->path(), "/a");
    EXPECT_FALSE(URL::parse("https://example.org/a.png")->isFileURL());
    for (const char* refused : {"file://server/a", "file:a", "file:///a%2", "file:///a%zz", "file:///a%00b",
                                "/a:b", "plain", ":x", ""}) {
        EXPECT_FALSE(URL::parse(refused)) << refused;
    }
}

TEST(URLTest, PortableTextLosesNoPath) {
    for (const std::string path :
         {"/tmp/塔维克.png", "/tmp/a\nb%41.png", "/tmp/\xFF\xFE %41?#.png", "/file:/x"}) {
        const URL url = URL::file(path);
        EXPECT_EQ(fileFromPortablePathText(portablePathText(url))->path(), path);
        EXPECT_EQ(URL::parse(url.absoluteString())->path(), path);
    }
    EXPECT_EQ(portablePathText(URL::file("/tmp/塔.png")), "/tmp/塔.png");
    EXPECT_EQ(portablePathText(URL::file("/tmp/\xFF.png")), "file:///tmp/%FF.png");
    EXPECT_FALSE(fileFromPortablePathText("relative"));
    EXPECT_FALSE(fileFromPortablePathText("https://example.org"));
}

TEST(URLTest, IdentifiersReadTheirOwnText) {
    const UUID uuid = UUID::random();
    EXPECT_EQ(UUID::parse(uuid.text()), uuid);
    EXPECT_NE(UUID::random(), uuid);
    EXPECT_EQ(UUID::parse("8c2f7f5e-0d5b-4a53-9d3e-0123456789ab")->text(),
              "8C2F7F5E-0D5B-4A53-9D3E-0123456789AB");
    EXPECT_FALSE(UUID::parse("8c2f7f5e-0d5b-4a53-9d3e-0123456789a"));
    EXPECT_FALSE(UUID::parse("8c2f7f5e-0d5b-4a53-9d3e-0123456789ag"));
}

} // namespace
} // namespace tarnwick
