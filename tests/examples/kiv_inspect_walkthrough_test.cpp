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
  if (command.words[1] == "disasm" && result.exit_code == 2 && !command.may_fail) return std::nullopt;
  std::string said = result.out + result.err;
  if (command.may_fail) {
    said += "exit status " + std::to_string(result.exit_code) + "\n";
  } else {
    EXPECT_EQ(result.exit_code, 0);
  }
  return said;
}

/// Without the numbers that change whenever the tool does.
std::string without_places(const std::string &text) {
  static const std::regex kPlace("(Source line +: )[0-9]+");
  return std::regex_replace(text, kPlace, "$1N");
}

TEST(KivInspectWalkthrough, IsTrue) {
  std::filesystem::current_path(KIV_DOCS "/walkthrough");
  std::istringstream page(read_file(kPage));
  std::ostringstream updated;
  std::unique_ptr<Server> server;
  bool is_console = false;
  int number = 0, commands = 0;
  std::string line;
  for (bool more = !!std::getline(page, line); more;) {
    ++number;
    updated << line << '\n';
    if (line.starts_with("```")) {
      is_console = line == "```console";
      server.reset();
    }
    const bool is_command = is_console && line.starts_with(kPrompt);
    const std::string place = kPage + ":" + std::to_string(number) + ": " + line;
    const std::string command = line.substr(is_command ? kPrompt.size() : 0);
    more = !!std::getline(page, line);
    if (!is_command) continue;
    std::string told;
    for (; more && !line.starts_with(kPrompt) && line != "```"; more = !!std::getline(page, line), ++number) {
      told += line + '\n';
    }
    SCOPED_TRACE(place);
    const auto said = run(Command(command), server);
    updated << said.value_or(told);
    ++commands;
    if (said) {
      EXPECT_EQ(without_places(told), without_places(*said)) << "The page should say:\n" << *said;
    } else {
      std::printf("[  SKIPPED ] not in this build: %s\n", place.c_str());
    }
  }
  EXPECT_GT(commands, 20);
  if (std::getenv("KIV_WALKTHROUGH_UPDATE") != nullptr) std::ofstream(kPage, std::ios::binary) << updated.str();
}

}  // namespace
