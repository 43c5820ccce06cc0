#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "machine/simulated/simulated_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace machine::simulated {
namespace {

using nlohmann::json;

class SimulatedTasksTest : public testing::Test {
 protected:
  json saved() const {
    std::ifstream file(directory_.path() / "tasks.json");
    return json::parse(file);
  }
  std::string refusalOf(std::string const& text) const {
    std::ofstream(directory_.path() / "tasks.json", std::ios::binary) << text;
    try {
      SimulatedMachine const machine(directory_.path());
      return "";
    } catch (std::runtime_error const& error) {
      return error.what();
    }
  }
  tests::TemporaryFolder directory_;
};

TEST_F(SimulatedTasksTest, TasksAreReadableWithTheirState) {
  SimulatedMachine machine(directory_.path());
  TaskDefinition task;
  task.application = u"C:\\p\\\u00e4.exe";
  task.arguments = u"-a \"b\"";
  task.workingFolder = u"C:\\p";
  task.description = u"text";
  task.author = u"Maker";
  machine.tasks().createOrReplace(u"Maker\\Updater", task);
  machine.tasks().stopAndDisable(u"maker\\UPDATER");
  machine.save();
  EXPECT_EQ(saved(),
            json::parse(R"({"version": 1, "folders": ["Maker"], "tasks": {"Maker\\Updater": {
    "application": "C:\\p\\ä.exe", "arguments": "-a \"b\"", "workingFolder": "C:\\p",
    "description": "text", "author": "Maker", "group": "S-1-5-32-545", "startsAtLogon": true,
    "highestRunLevel": true, "enabled": false}}})"));
}

TEST_F(SimulatedTasksTest, TasksAreThereAgainWhenOpenedAnew) {
  TaskDefinition task;
  task.application = u"C:\\p\\a.exe";
  task.startsAtLogon = false;
  task.enabled = false;
  { SimulatedMachine(directory_.path()).tasks().createOrReplace(u"Task", task); }
  EXPECT_EQ(SimulatedMachine(directory_.path()).tasks().task(u"TASK"), task);
}

TEST_F(SimulatedTasksTest, FoldersAreThereAgainWithoutTheirTasks) {
  {
    SimulatedMachine machine(directory_.path());
    TaskDefinition task;
    task.application = u"C:\\a.exe";
    machine.tasks().createOrReplace(u"Maker\\Inner\\Task", task);
    machine.tasks().remove(u"Maker\\Inner\\Task");
    machine.tasks().createOrReplace(u"Gone\\Task", task);
    machine.tasks().remove(u"Gone\\Task");
    machine.tasks().removeFolder(u"Gone");
  }
  SimulatedMachine again(directory_.path());
  EXPECT_TRUE(again.tasks().folderExists(u"Maker"));
  EXPECT_TRUE(again.tasks().folderExists(u"maker\\INNER"));
  EXPECT_FALSE(again.tasks().folderExists(u"Gone"));
}

TEST_F(SimulatedTasksTest, AWrongTaskIsRefusedWithItsPlace) {
  EXPECT_NE(refusalOf(R"({"version": 1})").find("lacks \"tasks\""), std::string::npos);
  EXPECT_NE(refusalOf(R"({"version": 1, "tasks": {"a": {}}})").find("tasks.json: /tasks/a: lacks"),
            std::string::npos);
  std::string const rest =
      R"("arguments": "", "workingFolder": "", "description": "", "author": "", "group": "",
         "startsAtLogon": true, "highestRunLevel": true)";
  EXPECT_NE(refusalOf(R"({"version": 1, "tasks": {"a": {"application": "x", "enabled": 1, )" +
                      rest + "}}}")
                .find("/tasks/a/enabled: must be true or false"),
            std::string::npos);
  EXPECT_NE(refusalOf(R"({"version": 1, "tasks": {"..": {"application": "x", "enabled": true, )" +
                      rest + "}}}")
                .find("is no task"),
            std::string::npos);
  EXPECT_NE(refusalOf(R"({"version": 1, "tasks": {}, "folders": ["a/b"]})")
                .find("/folders/0: is no task folder's name"),
            std::string::npos);
  std::string const task = R"({"application": "x", "enabled": true, )" + rest + "}";
  EXPECT_NE(refusalOf(R"({"version": 1, "tasks": {"a": )" + task + R"(, "A": )" + task + "}}")
                .find("is there twice"),
            std::string::npos);
}

}  // namespace
}  // namespace machine::simulated
