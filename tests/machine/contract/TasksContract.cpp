#include "tests/machine/contract/contract.hpp"
#include "tests/support/wine.hpp"

namespace contract {

using machine::ErrorCode;
using machine::SystemError;
using machine::TaskDefinition;
using machine::UString;

TaskDefinition TasksContract::definition() {
  TaskDefinition task;
  task.application = u"C:\\Program Files\\\u00e4\u65e5\U0001F600 it's \"quoted\"\\tool.exe";
  task.arguments = u"--say \"a b\" %PATH%";
  task.workingFolder = u"C:\\Program Files";
  task.description = u"What it's for: \u0416";
  task.author = u"\u03a9";
  if (!tests::isWine()) {  // Wine writes what it keeps of a task as XML without escapes
    task.application += u" R&D <x>";
    task.arguments += u" & <b>";
    task.workingFolder += u"\\R&D";
    task.description += u" <b>two\r\nlines</b>\tand a tab ]]>";
    task.author += u" & Co";
  }
  return task;
}

namespace {

/// Whether the folder is refused for what is in it.
bool isRefusedAsNotEmpty(machine::Tasks& tasks, UString const& folder) {
  try {
    tasks.removeFolder(folder);
    return false;
  } catch (SystemError const& error) {
    return error.is(ErrorCode::directoryNotEmpty);
  }
}

/// What a provider that stands on Wine's scheduler can tell: it loses the rest.
TaskDefinition told(TaskDefinition task) {
  if (tests::isWine()) {
    TaskDefinition const all = task;
    task = {};
    task.application = all.application;
    task.description = all.description;
    task.author = all.author;
    task.enabled = all.enabled;
  }
  return task;
}

/// A task that another program made: it runs every third day.
constexpr auto foreignDocument =
    uR"(<?xml version="1.0" encoding="UTF-16"?>
<Task version="1.2" xmlns="http://schemas.microsoft.com/windows/2004/02/mit/task">
  <Triggers>
    <CalendarTrigger>
      <StartBoundary>2026-01-01T03:00:00</StartBoundary>
      <ScheduleByDay><DaysInterval>3</DaysInterval></ScheduleByDay>
    </CalendarTrigger>
  </Triggers>
  <Principals>
    <Principal id="Author"><GroupId>S-1-5-32-545</GroupId></Principal>
  </Principals>
  <Settings><Priority>5</Priority></Settings>
  <Actions Context="Author"><Exec><Command>C:\first &amp; only.exe</Command></Exec></Actions>
</Task>
)";

}  // namespace

TEST_P(TasksContract, ATaskThatWasNotMadeIsNotThere) {
  EXPECT_EQ(tasks().task(name()), std::nullopt);
  EXPECT_EQ(tasks().task(u"Registration Contract Test 2\\No Folder\\Task"), std::nullopt);
}

TEST_P(TasksContract, ATaskIsReadBackAsItWasMade) {
  tasks().createOrReplace(name(), definition());
  auto const task = tasks().task(name());
  ASSERT_TRUE(task);
  EXPECT_EQ(told(*task), told(definition()));
}

TEST_P(TasksContract, ADisabledTaskCanBeMade) {
  auto task = definition();
  task.enabled = false;
  tasks().createOrReplace(name(), task);
  EXPECT_FALSE(tasks().task(name())->enabled);
}

TEST_P(TasksContract, MakingATaskAgainReplacesIt) {
  tasks().createOrReplace(name(), definition());
  auto other = definition();
  other.application = u"D:\\other.exe";
  other.description = u"";
  tasks().createOrReplace(name(), other);
  EXPECT_EQ(tasks().task(name())->application, u"D:\\other.exe");
  EXPECT_EQ(tasks().task(name())->description, u"");
}

TEST_P(TasksContract, ReplacingAStoppedTaskEnablesIt) {
  tasks().createOrReplace(name(), definition());
  tasks().stopAndDisable(name());
  tasks().createOrReplace(name(), definition());
  EXPECT_TRUE(tasks().task(name())->enabled);
}

TEST_P(TasksContract, NamesAreComparedWithoutRegardToCase) {
  tasks().createOrReplace(name(), definition());
  auto other = definition();
  other.application = u"D:\\other.exe";
  tasks().createOrReplace(u"REGISTRATION contract TEST\\tASK", other);
  EXPECT_EQ(tasks().task(name())->application, u"D:\\other.exe");
  EXPECT_TRUE(tasks().remove(u"registration contract test\\TASK"));
  EXPECT_FALSE(tasks().task(name()));
}

TEST_P(TasksContract, AStoppedTaskIsDisabledAndOtherwiseAsBefore) {
  tasks().createOrReplace(name(), definition());
  EXPECT_TRUE(tasks().stopAndDisable(name()));
  auto expected = definition();
  expected.enabled = false;
  auto const task = tasks().task(name());
  ASSERT_TRUE(task);
  EXPECT_EQ(told(*task), told(expected));
  EXPECT_TRUE(tasks().stopAndDisable(name())) << "once more";
}

TEST_P(TasksContract, AMissingTaskIsNeitherStoppedNorRemoved) {
  EXPECT_FALSE(tasks().stopAndDisable(name()));
  EXPECT_FALSE(tasks().remove(name()));
}

TEST_P(TasksContract, ARemovedTaskIsGone) {
  tasks().createOrReplace(name(), definition());
  EXPECT_TRUE(tasks().remove(name()));
  EXPECT_FALSE(tasks().task(name()));
  EXPECT_FALSE(tasks().remove(name()));
}

TEST_P(TasksContract, ATasksFoldersAreMadeWithItAndStay) {
  UString const folder = u"Registration Contract Test Folder";
  UString const inner = folder + u"\\Inner";
  ASSERT_FALSE(tasks().folderExists(folder));
  tasks().createOrReplace(inner + u"\\Task", definition());
  EXPECT_TRUE(tasks().folderExists(folder));
  EXPECT_TRUE(tasks().folderExists(u"REGISTRATION Contract Test FOLDER\\inner"));
  EXPECT_FALSE(tasks().folderExists(inner + u"\\Task"));
  EXPECT_TRUE(tasks().remove(inner + u"\\Task"));
  EXPECT_TRUE(tasks().folderExists(inner));
  EXPECT_TRUE(tasks().removeFolder(inner));
  EXPECT_TRUE(tasks().removeFolder(folder));
}

TEST_P(TasksContract, OnlyAnEmptyFolderIsRemoved) {
  UString const folder = u"Registration Contract Test Folder";
  UString const inner = folder + u"\\Inner";
  tasks().createOrReplace(inner + u"\\Task", definition());
  EXPECT_TRUE(isRefusedAsNotEmpty(tasks(), folder));
  EXPECT_TRUE(isRefusedAsNotEmpty(tasks(), inner));
  EXPECT_TRUE(tasks().task(inner + u"\\Task"));
  EXPECT_TRUE(tasks().remove(inner + u"\\Task"));
  EXPECT_TRUE(isRefusedAsNotEmpty(tasks(), folder));
  EXPECT_TRUE(tasks().removeFolder(inner));
  EXPECT_FALSE(tasks().folderExists(inner));
  EXPECT_TRUE(tasks().removeFolder(folder));
  EXPECT_FALSE(tasks().removeFolder(folder));
}

TEST_P(TasksContract, AnUnsafeNameIsNoFolders) {
  for (UString const& unsafe : {UString(), UString(u".."), UString(u"a\\..\\b"), UString(u"a/b")}) {
    EXPECT_FALSE(tasks().folderExists(unsafe));
    EXPECT_FALSE(tasks().removeFolder(unsafe));
  }
}

TEST_P(TasksContract, ATaskMayLieOutsideAllFolders) {
  UString const root = u"Registration Contract Test Without Folder";
  tasks().createOrReplace(root, definition());
  EXPECT_TRUE(tasks().task(root));
  EXPECT_TRUE(tasks().remove(root));
}

TEST_P(TasksContract, ADocumentRegisteredAgainIsTheSameTask) {
  tasks().createOrReplace(name(), definition());
  auto const document = tasks().document(name());
  ASSERT_TRUE(document);
  EXPECT_TRUE(tasks().remove(name()));
  tasks().registerDocument(name(), *document);
  auto const task = tasks().task(name());
  ASSERT_TRUE(task);
  EXPECT_EQ(told(*task), told(definition()));
  EXPECT_EQ(tasks().document(name()), document);
}

TEST_P(TasksContract, ADocumentReplacesTheTaskOfItsName) {
  tasks().createOrReplace(name(), definition());
  auto const document = *tasks().document(name());
  tasks().stopAndDisable(name());
  EXPECT_NE(tasks().document(name()), document);
  tasks().registerDocument(u"REGISTRATION contract TEST\\tASK", document);
  EXPECT_TRUE(tasks().task(name())->enabled);
  EXPECT_EQ(tasks().document(name()), document);
}

TEST_P(TasksContract, ADisabledTasksDocumentMakesADisabledTask) {
  tasks().createOrReplace(name(), definition());
  tasks().stopAndDisable(name());
  auto const document = *tasks().document(name());
  tasks().createOrReplace(name(), definition());
  tasks().registerDocument(name(), document);
  EXPECT_FALSE(tasks().task(name())->enabled);
}

TEST_P(TasksContract, ADocumentKeepsWhatADefinitionHasNoPlaceFor) {
  if (tests::isWine()) GTEST_SKIP() << "Wine keeps no triggers and actions";
  tasks().registerDocument(name(), foreignDocument);
  auto const task = tasks().task(name());
  ASSERT_TRUE(task);
  EXPECT_EQ(task->application, u"C:\\first & only.exe");
  EXPECT_FALSE(task->startsAtLogon);
  EXPECT_TRUE(task->enabled);
  EXPECT_NE(tasks().document(name())->find(u"<DaysInterval>3</DaysInterval>"), UString::npos);
  tasks().stopAndDisable(name());
  EXPECT_FALSE(tasks().task(name())->enabled);
  EXPECT_NE(tasks().document(name())->find(u"<DaysInterval>3</DaysInterval>"), UString::npos);
}

TEST_P(TasksContract, WhatIsNoTasksDocumentIsRefused) {
  for (auto const* const text : {u"", u"no document", u"<Task><Actions>", u"<Other></Other>"}) {
    EXPECT_THROW(tasks().registerDocument(name(), text), SystemError) << machine::toUtf8(text);
  }
  EXPECT_FALSE(tasks().task(name()));
  EXPECT_EQ(tasks().document(name()), std::nullopt);
}

TEST_P(TasksContract, AFolderIsNoTask) {
  tasks().createOrReplace(name(), definition());
  EXPECT_FALSE(tasks().task(u"Registration Contract Test"));
}

TEST_P(TasksContract, AnUnsafeNameIsNoTasksAndRefused) {
  for (auto const* const unsafe : {u"", u"\\", u"..", u"..\\Task", u"a\\..\\Task", u"\\Task",
                                   u"Task\\", u"a\\\\Task", u"Ta\x01sk", u"a/Task"}) {
    EXPECT_FALSE(tasks().task(unsafe)) << machine::toUtf8(unsafe);
    EXPECT_FALSE(tasks().stopAndDisable(unsafe)) << machine::toUtf8(unsafe);
    EXPECT_FALSE(tasks().remove(unsafe)) << machine::toUtf8(unsafe);
    EXPECT_EQ(tasks().document(unsafe), std::nullopt) << machine::toUtf8(unsafe);
    EXPECT_THROW(tasks().registerDocument(unsafe, foreignDocument), SystemError);
    try {
      tasks().createOrReplace(unsafe, definition());
      FAIL() << machine::toUtf8(unsafe);
    } catch (SystemError const& error) {
      EXPECT_TRUE(error.is(ErrorCode::invalidParameter)) << error.what();
    }
  }
}

TEST_P(TasksContract, TextsThatATaskCannotHoldAreRefused) {
  auto const refused = [&](TaskDefinition const& task) {
    try {
      tasks().createOrReplace(name(), task);
      return false;
    } catch (SystemError const& error) {
      return error.is(ErrorCode::invalidParameter);
    }
  };
  auto task = definition();
  task.application.clear();
  EXPECT_TRUE(refused(task));
  task = definition();
  task.application += u'\0';
  EXPECT_TRUE(refused(task));
  task = definition();
  task.arguments = u"\x1b[2J";
  EXPECT_TRUE(refused(task));
  task = definition();
  task.description = UString(1, char16_t{0xD800});
  EXPECT_TRUE(refused(task));
  EXPECT_FALSE(tasks().task(name()));
}

}  // namespace contract
