#include "Foundation/CompressionError.h"
#include "TarnwickFinderSync/ThunarActions.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwick::test {
namespace {

using namespace ThunarActions;

const std::string ours = "<action>\n\t<unique-id>app.tarnwick.Tarnwick.finder</unique-id>\n"
                         "\t<command>'/opt/Tarnwick' %U</command>\n</action>\n";

/// Files of users. "|" marks the place of our action.
const std::vector<std::string> files = {
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<actions>\n|</actions>\n",
    "<actions>|</actions>",
    "\xEF\xBB\xBF<actions>\r\n<action>\r\n<name>中 𝄞</name>\r\n</action>\r\n|</actions>\r\n<!--</actions>-->",
    "<actions\n  >\n   <action ><name>a &amp; b &lt;/actions&gt;</name></action >\t  |</actions  >",
    R"(<actions><action><command><![CDATA[ echo '</actions>' app.tarnwick.Tarnwick.finder ]]></command></action>
<!-- <action><unique-id>app.tarnwick.Tarnwick.finder</unique-id></action> -->|</actions>)",
    R"(<!DOCTYPE actions [ <!ELEMENT actions (action)+> <!ENTITY who "ich &#169;"> ]>
<actions><action><name>&who;</name><unique-id>1-1</unique-id><description>runs app.tarnwick.Tarnwick.finder
</description><range/></action>|</actions>)",
    R"(<actions><action><submenu><unique-id>app.tarnwick.Tarnwick.finder</unique-id></submenu></action>
|</actions>)"};

TEST(ThunarActions, InsertsAndRemovesOurActionAndKeepsEveryOtherByte) {
    for (const std::string& file : files) {
        const auto place = file.find('|');
        std::string before = file;
        before.erase(place, 1);
        std::string with = file;
        with.replace(place, 1, ours);
        EXPECT_EQ(ourCommand(before), std::nullopt) << before;
        EXPECT_EQ(withAction(before, ours), with);
        EXPECT_EQ(ourCommand(with), "'/opt/Tarnwick' %U") << with;
        EXPECT_EQ(withAction(with, ours), with);
        EXPECT_EQ(withoutAction(with), before);
        EXPECT_EQ(withoutAction(before), before);
    }
}

TEST(ThunarActions, ReplacesOurActionInItsPlace) {
    // As Thunar writes it. The user has copied it.
    const std::string old = "<action>\n\t<icon></icon>\n\t<name>mine</name>\n\t<submenu></submenu>\n"
                            "\t<unique-id> app.tarnwick.Tarnwick.finder\n</unique-id>\n"
                            "\t<command>&apos;/old&apos; &#37;U</command>\n</action>\n";
    const std::string other = "<action><name>other</name></action>\n";
    const std::string text = "<actions>\n" + old + other + old + other + "</actions>\n";
    EXPECT_EQ(ourCommand(text), "'/old' %U");
    EXPECT_EQ(withAction(text, ours), "<actions>\n" + ours + other + other + "</actions>\n");
    EXPECT_EQ(withoutAction(text), "<actions>\n" + other + other + "</actions>\n");
}

TEST(ThunarActions, OpensAnEmptyRoot) {
    for (const std::string root : {"<actions/>", "<actions />", "<actions a='/>'/>"}) {
        const std::string with = withAction("<?xml version='1.0'?>" + root + "\n", ours);
        EXPECT_EQ(ourCommand(with), "'/opt/Tarnwick' %U") << with;
        EXPECT_EQ(ourCommand(withoutAction(with)), std::nullopt);
    }
}

TEST(ThunarActions, RefusesOtherFiles) {
    for (const std::string text :
         {"", "actions", "<actions>", "<actions></action>", "<menu></menu>",
          "<actions></actions><actions></actions>", "<actions>&none;</actions>", "<actions>\xFF</actions>",
          "<actions><action></actions>", "<actions></actions>garbage"}) {
        EXPECT_THROW(static_cast<void>(withAction(text, ours)), CompressionError) << text;
        EXPECT_THROW(static_cast<void>(withoutAction(text)), CompressionError) << text;
    }
}

} // namespace
} // namespace tarnwick::test
