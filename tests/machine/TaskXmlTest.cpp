#include <gtest/gtest.h>

#include "machine/task_xml.hpp"

namespace machine {
namespace {

TaskDefinition hostile() {
  TaskDefinition task;
  task.application = u"C:\\R&D\\\"it's\" <a>.exe";
  task.arguments = u"]]> <!-- \t\r\n --> &amp; <?x?>";
  task.workingFolder = u"C:\\\u00e4\u65e5\U0001F600";
  task.description = u"</Description></RegistrationInfo>";
  return task;
}

TEST(TaskXml, TellsTheWholeTask) {
  TaskDefinition task;
  task.application = u"C:\\p\\tool.exe";
  task.arguments = u"-a";
  task.workingFolder = u"C:\\p";
  task.description = u"What it does";
  task.author = u"Maker";
  EXPECT_EQ(toUtf8(taskXml(task)),
            R"(<?xml version="1.0" encoding="UTF-16"?>
<Task version="1.2" xmlns="http://schemas.microsoft.com/windows/2004/02/mit/task">
<RegistrationInfo><Source>C:\p\tool.exe</Source>
<Author>Maker</Author>
<Description>What it does</Description>
</RegistrationInfo>
<Triggers><LogonTrigger><Enabled>true</Enabled>
</LogonTrigger>
</Triggers>
<Principals><Principal id="Author">
<GroupId>S-1-5-32-545</GroupId>
<RunLevel>HighestAvailable</RunLevel>
</Principal>
</Principals>
<Settings><MultipleInstancesPolicy>Parallel</MultipleInstancesPolicy>
<DisallowStartIfOnBatteries>false</DisallowStartIfOnBatteries>
<StopIfGoingOnBatteries>false</StopIfGoingOnBatteries>
<ExecutionTimeLimit>PT0S</ExecutionTimeLimit>
<Enabled>true</Enabled>
</Settings>
<Actions Context="Author">
<Exec><Command>C:\p\tool.exe</Command>
<Arguments>-a</Arguments>
<WorkingDirectory>C:\p</WorkingDirectory>
</Exec>
</Actions>
</Task>
)");
}

TEST(TaskXml, LeavesOutWhatIsEmpty) {
  TaskDefinition task;
  task.application = u"a.exe";
  task.startsAtLogon = false;
  task.highestRunLevel = false;
  task.enabled = false;
  auto const xml = toUtf8(taskXml(task));
  for (auto const* const absent : {"<Author>", "<Description>", "<Arguments>", "<WorkingDirectory>",
                                   "LogonTrigger", "HighestAvailable"}) {
    EXPECT_EQ(xml.find(absent), std::string::npos) << absent;
  }
  EXPECT_NE(xml.find("<RunLevel>LeastPrivilege</RunLevel>"), std::string::npos);
  EXPECT_NE(xml.find("<Enabled>false</Enabled>"), std::string::npos);
}

TEST(TaskXml, MarkupInTextsIsText) {
  auto const xml = toUtf8(taskXml(hostile()));
  for (auto const* const present :
       {"<Command>C:\\R&amp;D\\&quot;it&apos;s&quot; &lt;a&gt;.exe</Command>",
        "<Arguments>]]&gt; &lt;!-- &#9;&#13;&#10; --&gt; &amp;amp; &lt;?x?&gt;</Arguments>",
        "<WorkingDirectory>C:\\\u00e4\u65e5\U0001F600</WorkingDirectory>",
        "<Description>&lt;/Description&gt;&lt;/RegistrationInfo&gt;</Description>"}) {
    EXPECT_NE(xml.find(present), std::string::npos) << present << "\n" << xml;
  }
}

TEST(TaskXml, ATaskIsDisabledWhateverItsSettingsLookLike) {
  UString const rest = u"<Actions><Exec><Command>C:\\a.exe</Command></Exec></Actions>";
  for (auto const* const settings :
       {u"", u"<Settings/>", u"<Settings></Settings>", u"<Settings><Enabled/></Settings>",
        u"<Settings><Enabled>true</Enabled></Settings>", u"<Settings><Enabled>true</Settings>",
        u"<Settings><Enabled>true</Enabled>"}) {
    UString const document = u"<Settings/><Task>" + (settings + rest) + u"</Task>";
    auto const before = taskFromXml(document);
    ASSERT_TRUE(before) << toUtf8(settings);
    auto const after = taskFromXml(disabledTaskXml(document));
    ASSERT_TRUE(after) << toUtf8(settings);
    EXPECT_FALSE(after->enabled) << toUtf8(settings);
    EXPECT_EQ(after->application, before->application) << toUtf8(settings);
  }
}

TEST(TaskXml, TextsThatXmlCannotCarryAreTold) {
  EXPECT_TRUE(isXmlText(u""));
  EXPECT_TRUE(isXmlText(u"a\t\r\n\u0080\uE000\uFFFD\U0001F600"));
  for (char16_t const unit : {u'\0', u'\x01', u'\x08', u'\x0b', u'\x1f', char16_t{0xFFFE},
                              char16_t{0xFFFF}, char16_t{0xD800}, char16_t{0xDFFF}}) {
    EXPECT_FALSE(isXmlText(UString(1, unit))) << std::hex << static_cast<unsigned>(unit);
    EXPECT_FALSE(isXmlText(u"a" + UString(1, unit) + u"b"))
        << std::hex << static_cast<unsigned>(unit);
  }
  EXPECT_FALSE(isXmlText(UString{0xDC00, 0xD800})) << "the wrong way round";
}

TEST(TaskName, IsAFileNameInFolders) {
  for (auto const* const name : {u"a", u"A task 1.2", u"Maker\\Updater", u"a\\b\\c", u".hidden",
                                 u"\u00e4\u65e5\U0001F600", u"a..b", u" a"}) {
    EXPECT_TRUE(isTaskName(name)) << toUtf8(name);
  }
}

TEST(TaskName, LeadsNowhereElse) {
  for (auto const* const name :
       {u"",        u".",        u"..",    u"...", u"\\",  u"\\a",   u"a\\",   u"a\\\\b",
        u"a\\.\\b", u"a\\..\\b", u"..\\a", u"a.",  u"a ",  u"a \\b", u"C:\\a", u"a/b",
        u"a*",      u"a?",       u"a\"",   u"<a>", u"a|b", u"a\nb",  u"a\tb",  u"\x7f\x1f"}) {
    EXPECT_FALSE(isTaskName(name)) << toUtf8(name);
  }
  EXPECT_FALSE(isTaskName(UString(u"a\0b", 3)));
  EXPECT_FALSE(isTaskName(UString(1, char16_t{0xDC00})));
}

TEST(TaskXml, ADocumentLongerThanItMayBeIsNone) {
  TaskDefinition task;
  task.application = u"C:\\p\\tool.exe";
  auto document = taskXml(task);
  document += UString(largestTaskDocument - document.size(), u' ');
  EXPECT_TRUE(taskFromXml(document));
  EXPECT_FALSE(taskFromXml(document + u' '));
}

TEST(TaskXml, AnElementWhoseNameOnlyBeginsLikeAnotherIsNotTakenForIt) {
  TaskDefinition task;
  task.application = u"C:\\p\\tool.exe";
  auto document = taskXml(task);
  document.insert(document.find(u"<Exec>"), u"<ExecX><Command>wrong</Command></ExecX><Exec");
  EXPECT_FALSE(taskFromXml(document)->application == u"wrong");
  // So many that a search to the end for each would take minutes.
  UString many;
  while (many.size() < largestTaskDocument / 2) many += u"<Tasks";
  EXPECT_FALSE(taskFromXml(many + u">"));
  EXPECT_FALSE(taskFromXml(u"<Task"));
}

}  // namespace
}  // namespace machine
