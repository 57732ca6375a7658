// docs/walkthrough.md tells the truth: every command in its console blocks is run, in docs/walkthrough/, and has to say
// what stands below it. With KIV_WALKTHROUGH_UPDATE=1 in the environment the page is rewritten with what they say.
//
// A command is a line that starts with "$ ". Of a shell's language the page uses
//
//     echo WORDS | kiv_inspect ...            words on standard input
//     kiv_inspect ... < FILE                  a file on standard input
//     kiv_inspect ... || echo exit status $?  where the command fails
//     kiv_inspect serve ... &                 a server, for the rest of the block
//     'words with blanks'
//
// Standard output stands before standard error. Servers get a port from the system, for which the page has kPort.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <regex>
#include <sstream>
#include <thread>

#include "gtest/gtest.h"
#include "kiv_process.h"
#include "tests/support/process.h"

namespace {

using namespace kiv::test;

const std::string kPage = KIV_DOCS "/walkthrough.md", kPrompt = "$ ", kPort = "40241", kPortWords = "at port ";

std::string read_file(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

struct Command {
  explicit Command(const std::string &line);

  std::vector<std::string> words;
  std::string input;
  bool is_server = false, may_fail = false;
};

Command::Command(const std::string &line) {
  std::string word;
  bool is_quoted = false, is_input = false;
  for (const char c : line + ' ') {
    if (c == '\'') is_quoted = !is_quoted;
    if (c == '\'' || (c == ' ' && !is_quoted && word.empty())) continue;
    if (c != ' ' || is_quoted) {
      word += c;
      continue;
    }
    if (word == "|") {
      for (size_t i = 1; i < words.size(); ++i) input += words[i] + (i + 1 < words.size() ? " " : "\n");
      words.clear();
    } else if (word == "||") {
      may_fail = true;
      return;
    } else if (word == "&" || word == "<") {
      (word == "&" ? is_server : is_input) = true;
    } else if (is_input) {
      input = read_file(word);
    } else {
      words.push_back(word);
    }
    word.clear();
  }
}

/// Up to a minute.
template <typename Condition>
void wait_until(Condition condition) {
  for (int i = 0; i < 6000 && !condition(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

/// A server, until the end of its block.
class Server {
 public:
  explicit Server(const Command &command) : output_(this_program() + ".serving") {
    const std::string path = program_beside(command.words[0]);
    std::vector<const char *> argv{path.c_str()};
    for (size_t i = 1; i < command.words.size(); ++i) argv.push_back(command.words[i].c_str());
    argv.push_back(nullptr);
    EXPECT_EQ(kiv_process_start(argv.data(), &process_, output_.c_str(), nullptr, KIV_PROCESS_HIDDEN), 0);
    wait_until([this] { return (announcement_ = read_file(output_)).ends_with('\n'); });
    const size_t place = announcement_.find(kPortWords);
    if (place == std::string::npos) return;
    port = std::to_string(std::atoi(announcement_.c_str() + place + kPortWords.size()));
    announcement_.replace(place + kPortWords.size(), port.size(), kPort);
  }
  ~Server() {
    (void)kiv_process_kill_and_wait(&process_);
    wait_until([this] { return std::remove(output_.c_str()) == 0; });  // Windows keeps it for a moment
  }
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  /// What it says when it is ready, with the page's port.
  const std::string &announcement() const { return announcement_; }

  std::string port;

 private:
  std::string output_, announcement_;
  KIV_PROCESS process_ = {};
};

/// What a command says, or nothing when this build's kiv_inspect cannot do it.
std::optional<std::string> run(Command command, std::unique_ptr<Server> &server) {
  if (command.is_server) {
    server = std::make_unique<Server>(command);
    return server->announcement();
  }
  for (auto &word : command.words) {
    if (word == kPort && server != nullptr) word = server->port;
  }
  const auto result =
      run_program(program_beside(command.words[0]), {command.words.begin() + 1, command.words.end()}, command.input);
  if (result.err == "this kiv_inspect was built without a disassembler\n") return std::nullopt;
  std::string said = result.out + result.err;
  if (command.may_fail) {
    said += "exit status " + std::to_string(result.exit_code) + "\n";
  } else {
    EXPECT_EQ(result.exit_code, 0);
  }
  return said;
}

/// Without the numbers in lines that differ from one run, or version of the tool, to another.
std::string without_changing_numbers(const std::string &text) {
  static const std::regex number(" *[0-9][0-9.]*(e[-+][0-9]+)?");
  std::string result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    for (const char *start : {"Source line  ", "read  ", "rest  ", "all   ", "kiv_inspect thread time "}) {
      if (line.starts_with(start)) line = std::regex_replace(line, number, "#");
    }
    result += line + '\n';
  }
  return result;
}

/// A line of the page, and when it is a command, the lines of what it says.
struct Entry {
  int number = 0;
  std::string line, told;
  bool is_fence = false, is_command = false;
};

std::vector<Entry> read_page() {
  std::vector<Entry> entries;
  std::istringstream page(read_file(kPage));
  bool is_console = false;
  int number = 0;
  for (std::string line; std::getline(page, line);) {
    const bool is_fence = line.starts_with("```"), is_command = is_console && line.starts_with(kPrompt);
    if (is_fence) is_console = line == "```console";
    ++number;
    if (!is_console || is_fence || is_command) {
      entries.push_back({number, line, "", is_fence, is_command});
    } else {
      entries.back().told += line + '\n';
    }
  }
  return entries;
}

TEST(KivInspectWalkthrough, IsTrue) {
  std::filesystem::current_path(KIV_DOCS "/walkthrough");
  std::string updated;
  std::unique_ptr<Server> server;
  int commands = 0;
  for (const auto &[number, line, told, is_fence, is_command] : read_page()) {
    if (is_fence) server.reset();
    updated += line + '\n' + (is_command ? "" : told);
    if (!is_command) continue;
    const std::string place = kPage + ":" + std::to_string(number) + ": " + line;
    SCOPED_TRACE(place);
    const auto said = run(Command(line.substr(kPrompt.size())), server);
    ++commands;
    if (!said) std::printf("[  SKIPPED ] not in this build: %s\n", place.c_str());
    const bool is_true = !said || without_changing_numbers(told) == without_changing_numbers(*said);
    EXPECT_TRUE(is_true) << "The page says:\n" << told << "It should say:\n" << said.value_or("");
    updated += is_true ? told : *said;
  }
  EXPECT_GT(commands, 20);
  if (std::getenv("KIV_WALKTHROUGH_UPDATE") != nullptr) std::ofstream(kPage, std::ios::binary) << updated;
}

}  // namespace
