#include "machine/simulated/simulated_processes.hpp"

#include <stdexcept>

#include "machine/error.hpp"
#include "machine/path_grammar.hpp"

namespace machine::simulated {

using nlohmann::json;

namespace {

class EndedChild final : public ChildProcess {
 public:
  explicit EndedChild(std::uint32_t exitCode) : exitCode_(exitCode) {}
  std::uint32_t wait() override { return exitCode_; }
  void detach() override {}

 private:
  std::uint32_t exitCode_;
};

char const* kindName(ProcessOutput::Kind kind) {
  switch (kind) {
    case ProcessOutput::Kind::inherit:
      return "inherit";
    case ProcessOutput::Kind::pipe:
      return "pipe";
    case ProcessOutput::Kind::overwriteFile:
      return "overwriteFile";
    case ProcessOutput::Kind::appendFile:
      return "appendFile";
    case ProcessOutput::Kind::discard:
      return "discard";
    case ProcessOutput::Kind::mergeWithOutput:
      return "mergeWithOutput";
  }
  return "unknown";
}

bool isFile(ProcessOutput const& output) {
  return output.kind == ProcessOutput::Kind::overwriteFile ||
         output.kind == ProcessOutput::Kind::appendFile;
}

json outputRecord(ProcessOutput const& output) {
  json record{{"kind", kindName(output.kind)}};
  if (isFile(output)) record["file"] = toUtf8(output.file);
  return record;
}

json launchRecord(ProcessStart const& what) {
  json arguments = json::array();
  for (auto const& argument : what.arguments) arguments.push_back(toUtf8(argument));
  return {{"program", toUtf8(what.program)},
          {"arguments", std::move(arguments)},
          {"noWindow", what.noWindow},
          {"detached", what.detached},
          {"standardOutput", outputRecord(what.standardOutput)},
          {"standardError", outputRecord(what.standardError)}};
}

void requireSense(ProcessStart const& what) {
  using Kind = ProcessOutput::Kind;
  if (what.standardOutput.kind == Kind::mergeWithOutput)
    throw std::invalid_argument("standard output cannot be merged with itself");
  for (auto const* output : {&what.standardOutput, &what.standardError})
    if (output->kind == Kind::pipe && !output->reader)
      throw std::invalid_argument("a pipe needs a reader");
}

}  // namespace

void SimulatedProcesses::readLaunched(JsonValue const& document) {
  json launched = json::array();
  for (auto const& launch : document.member("launched").elements()) {
    launch.member("program").text();
    for (auto const& argument : launch.member("arguments").elements()) argument.text();
    launched.push_back(launch.json());
  }
  json shellExecuted = json::array();
  if (document.has("shellExecuted")) {
    for (auto const& execution : document.member("shellExecuted").elements()) {
      for (auto const* text : {"program", "parameters"}) execution.member(text).text();
      shellExecuted.push_back(execution.json());
    }
  }
  launched_ = std::move(launched);
  shellExecuted_ = std::move(shellExecuted);
}

void SimulatedProcesses::readExitCodes(JsonValue const& document) {
  for (auto const& [program, code] : document.member("exitCodes").members())
    setExitCode(toUtf16(program), static_cast<std::uint32_t>(code.number(UINT32_MAX)));
}

std::unique_ptr<ChildProcess> SimulatedProcesses::start(ProcessStart const& what) {
  requireSense(what);
  auto const status = files_.status(what.program);
  if (!status) throw SystemError("start", what.program, ErrorCode::fileNotFound);
  if (status->isDirectory) throw SystemError("start", what.program, ErrorCode::accessDenied);
  makeOutputFile(what.standardOutput);
  makeOutputFile(what.standardError);
  launched_.push_back(launchRecord(what));
  return std::make_unique<EndedChild>(exitCode(what.program));
}

bool SimulatedProcesses::shellExecute(std::u16string_view program, std::u16string_view parameters) {
  auto const status = files_.status(program);
  if (!status || status->isDirectory || parameters.find(u'\0') != parameters.npos) return false;
  shellExecuted_.push_back({{"program", toUtf8(program)}, {"parameters", toUtf8(parameters)}});
  return true;
}

void SimulatedProcesses::setExitCode(std::u16string_view program, std::uint32_t code) {
  exitCodes_[foldCase(program)] = code;
}

std::uint32_t SimulatedProcesses::exitCode(std::u16string_view program) const {
  auto const path = path_grammar::absolute(program, files_.currentDirectory());
  for (auto const& key : {foldCase(path), foldCase(path_grammar::fileName(path))})
    if (auto const found = exitCodes_.find(key); found != exitCodes_.end()) return found->second;
  return 0;
}

void SimulatedProcesses::makeOutputFile(ProcessOutput const& output) {
  if (!isFile(output)) return;
  bool const append = output.kind == ProcessOutput::Kind::appendFile;
  files_.openForWriting(output.file, append ? WriteMode::append : WriteMode::truncate)->close();
}

}  // namespace machine::simulated
