// Servers of the tool: what they answer, what they do with clients that make no sense, and what they leave behind.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <set>
#include <thread>

#include "examples/kiv_inspect/client_threads.h"
#include "examples/kiv_inspect/reply.h"
#include "examples/kiv_inspect/request_line.h"
#include "examples/kiv_inspect/socket_system.h"
#include "gtest/gtest.h"
#include "kiv_avl.h"
#include "kiv_debug_heap.h"
#include "tests/examples/dwarf_images.h"
#include "tests/examples/program_images.h"
#include "tests/examples/text_sink.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/process.h"
#include "tests/support/random.h"

namespace {

using namespace kiv::inspect;
using namespace kiv::test;

using Words = std::vector<std::string>;

ProcessResult run_inspect(const Words &words) { return run_program(program_beside("kiv_inspect"), words); }

ProcessResult ask(uint16_t port, const Words &request) {
  Words words = {"ask", "127.0.0.1", std::to_string(port)};
  words.insert(words.end(), request.begin(), request.end());
  return run_inspect(words);
}

int fail_at_report(int, const char *, const char *message) {
  ADD_FAILURE() << message;
  return 0;
}

/// A server for so many clients, in a thread, or threads, on a debug heap.
class Serving {
 public:
  Serving(const std::string &path, int clients, uint32_t patience = 60, uint32_t at_once = 1) {
    kiv_socket_init();
    kiv_debug_heap_set_hook(fail_at_report);
    kiv_debug_heap_new(&memory_, 1);
    errors_ = std::make_unique<Errors>(&memory_);
    handler_ = std::make_unique<RequestHandler>(path.c_str(), &memory_);
    server_ = std::make_unique<Server>(*handler_, *errors_, patience);
    EXPECT_TRUE(handler_->open(*errors_).ok() && server_->open(0).ok());
    port = server_->port();
    thread_ = std::thread([this, clients, at_once] {
      const uint64_t step = at_once == 1 ? 1 : static_cast<uint64_t>(clients);
      for (uint64_t served = 0; served < static_cast<uint64_t>(clients); served += step) {
        EXPECT_TRUE(serve_clients(*server_, step, at_once, *errors_).ok());
        levels.push_back(live_blocks());
      }
      ended_ = true;
    });
  }
  ~Serving() { end(); }

  /// Until all clients were served; when a test has failed, with others in their place.
  void end() {
    if (!thread_.joinable()) return;
    for (KIV_STREAM stream; testing::Test::HasFailure() && !ended_;) {
      if (kiv_open_stream(&stream, "127.0.0.1", port) == 0) (void)kiv_close_stream(&stream);
    }
    thread_.join();
    server_.reset();
    handler_.reset();
    errors_.reset();
    kiv_debug_heap_destroy_allocator(&memory_);
    kiv_debug_heap_set_hook(nullptr);
    kiv_socket_finalize();
  }

  uint16_t port = 0;
  std::vector<size_t> levels;  // blocks in use behind each client; after end()

 private:
  size_t live_blocks() {
    size_t count = 0;
    const auto add = [](void *, void *counter) { return static_cast<int>(++*static_cast<size_t *>(counter)); };
    kiv_avl_sequential_walk(memory_.state.debug_heap.blocks, add, &count);
    return count;
  }

  KIV_ALLOCATOR memory_;
  std::unique_ptr<Errors> errors_;
  std::unique_ptr<RequestHandler> handler_;
  std::unique_ptr<Server> server_;
  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

/// Symbols, one with a name that needs quotes, and a gigabyte of memory.
Image image_to_serve() {
  return build_elf(false, ByteOrder::big,
                   {{false, "main", 0x1000, 2, 1, 1, 0x20}, {false, "a \"b\" c", 0x1010, 1, 1, 1, 4}},
                   {{".text", 0x1000, 0x100}, {".bss", 0x10000, 0x40000000}});
}

TEST(KivInspectServe, AnswersAsTheCommandLineDoes) {
  DwarfBuilder builder({5, false, false, ByteOrder::big});
  builder.begin_unit();
  builder.entry(39, false, {{3, 8, 0, "c\nd"}, {28, 8, 0, "text"}});
  const std::string elf = write_file("served_elf", image_to_serve()), dwarf = write_file("served_dwarf", builder.elf());
  const std::string kProgram = "PROGRAM";
  const struct {
    const std::string &path;
    std::vector<Words> requests;
  } kRows[] = {{elf,
                {{"symbols", kProgram},
                 {"symbols", "--by-size", "1", kProgram, "*"},
                 {"symbols", "--by-size", kProgram},
                 {"symbols", kProgram, "--by-name", "--regex", " "},
                 {"resolve", kProgram, "main", "1012", "none", "0"},
                 {"resolve", kProgram, "R:1012", "Q:1", "--space", "b:9:1"},
                 {"spaces", "--space", "b:9:1", kProgram},
                 {"ranges", kProgram, "1000", "ffffffff"},
                 {"sections", kProgram},
                 {"bytes", kProgram, "1000", "40", "3:12"},
                 {"bytes", kProgram, "0", "40"},
                 {"symbols", "--by-size", "0", kProgram}}},
               {elf, {{"constants", kProgram}}},
               {dwarf, {{"constants", kProgram}, {"constants", kProgram, "d"}, {"constants", kProgram, "c?d"}}}};
  for (const auto &row : kRows) {
    const size_t count = row.requests.size();
    Serving serving(row.path, static_cast<int>(2 * count));
    for (size_t i = 0; i < 2 * count; ++i) {
      Words words = row.requests[i % count];
      const auto program = std::find(words.begin(), words.end(), kProgram);
      *program = row.path;
      const auto local = run_inspect(words);
      words.erase(program);
      const auto asked = ask(serving.port, words);
      EXPECT_EQ(asked.exit_code, local.exit_code) << words[0];
      EXPECT_EQ(asked.out, local.out) << words[0];
      if (local.exit_code == 2) {
        EXPECT_TRUE(asked.err.starts_with("usage: kiv_inspect ask HOST PORT REQUEST\n  symbols [--regex]"))
            << asked.err;
      } else {
        EXPECT_EQ(asked.err, local.err) << words[0];
      }
    }
    serving.end();
    // The first round may have read parts of the program; what a request takes beyond that ends with it.
    for (size_t i = count; i < serving.levels.size(); ++i) EXPECT_EQ(serving.levels[i], serving.levels[count - 1]) << i;
  }
  std::remove(elf.c_str());
  std::remove(dwarf.c_str());
}

/// Sends bytes, and gives what comes back until the connection ends, or (one_request) the reply to one request.
std::string exchange(uint16_t port, const std::string &bytes, bool one_request = false, bool reads = true,
                     std::vector<int32_t> *values = nullptr) {
  KIV_STREAM stream;
  EXPECT_EQ(kiv_open_stream(&stream, "127.0.0.1", port), 0);
  EXPECT_TRUE(set_up_connection(&stream) && set_time_limit(stream, 60));
  kiv_socket_process_piggybacked_value(
      &stream,
      [](void *context, int32_t value) {
        if (context != nullptr) static_cast<std::vector<int32_t> *>(context)->push_back(value);
      },
      values);
  (void)kiv_socket_write(&stream, bytes.data(), static_cast<int32_t>(bytes.size()));
  std::string reply;
  char piece[1024];
  for (int32_t n = 1; reads && n > 0;) {
    n = kiv_socket_terminated_read(&stream, piece, sizeof piece, '\n');
    reply.append(piece, static_cast<size_t>(n));
    if (one_request && n == 5 && std::string(piece, 3) == "7 =") break;
  }
  (void)kiv_close_stream(&stream);
  return reply;
}

const std::string kGreeting = "0 protocol 1.0\n", kGreeted = "0 v1.0\n";

/// Sends one request, as number 7, and gives the reply without the numbers.
std::string converse(uint16_t port, const std::string &request, bool reads = true,
                     std::vector<int32_t> *values = nullptr) {
  const bool is_whole = request.ends_with('\n');
  std::string reply = exchange(port, kGreeting + (request.empty() ? "" : "7 ") + request, is_whole, reads, values),
              text;
  for (size_t at = 0, end; at < reply.size(); at = end) {
    end = std::min(reply.find('\n', at), reply.size() - 1) + 1;
    const std::string line = reply.substr(at, end - at);
    if (line != kGreeted) text += line.starts_with("7 ") ? line.substr(2) : line;
  }
  return text;
}

TEST(KivInspectServe, OutlivesItsClients) {
  const std::string path = write_file("served", image_to_serve());
  const std::string malformed = "ethe request is no line of words\n=2\n", main = "o00001000 main\n=0\n";
  const std::string unnumbered = "0 ethe request has no number, or is too long\n0 =2\n";
  const std::string unversioned = "0 ethe client does not tell the version of its protocol\n0 =2\n";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"resolve main\n", main},
      {"resolve  \"main\"  \n", main},
      {"resolve \"a \"\"b\"\" c\"\n", "o00001010 a \"b\" c\n=0\n"},
      {std::string(5000, 'x'), unnumbered},
      {"resolve \"a\n", malformed},
      {"resolve \"a\"b\n", malformed},
      {"resolve a\"b\"\n", malformed},
      {std::string("resolve \0\n", 10), malformed},
  };
  const std::vector<std::pair<std::string, std::string>> conversations = {
      {"symbols\n", unnumbered},
      {"0 v\n", unversioned},
      {"0 protocol 1\n", unversioned},
      {"1 protocol 1.0\n", unversioned},
      {"0 protocol 2.0\n", kGreeted},
      {kGreeting + "-1 resolve main\n", kGreeted + unnumbered},
      {kGreeting + "0 resolve main\n", kGreeted + "0 enumber 0 is for no request\n0 =2\n"},
      {kGreeting + "1 resolve main\n18446744073709551615 resolve \"\n1 resolve main\n18446744073709551616 resolve\n",
       kGreeted +
           "1 o00001000 main\n1 =0\n18446744073709551615 ethe request is no line of words\n"
           "18446744073709551615 =2\n1 o00001000 main\n1 =0\n" +
           unnumbered},
  };
  Serving serving(path, static_cast<int>(rows.size() + conversations.size()) + 13, 1);
  for (const auto &[request, reply] : rows) EXPECT_EQ(converse(serving.port, request), reply) << request;
  for (const auto &[bytes, reply] : conversations) EXPECT_EQ(exchange(serving.port, bytes), reply) << bytes;
  // Requests of no sense: the client may try others.
  for (const char *request :
       {"\n", "tree\n", "resolve\n", "serve x 1\n", "--debug-heap symbols\n", "symbols a b\n", "\xff\x80 \x1b\n"}) {
    const std::string reply = converse(serving.port, request);
    EXPECT_TRUE(reply.starts_with("eusage: kiv_inspect ask ") && reply.ends_with("\n=2\n")) << reply;
  }
  EXPECT_EQ(converse(serving.port, ""), "");
  EXPECT_EQ(converse(serving.port, "resolve ma"), "");
  EXPECT_EQ(converse(serving.port, "resolve main", false), "");
  EXPECT_EQ(converse(serving.port, "bytes 10000 1073741824\n", false), "");  // and is gone
  KIV_STREAM plain;
  ASSERT_EQ(kiv_open_stream(&plain, "localhost", serving.port), 0);  // without the secondary channel
  EXPECT_EQ(kiv_socket_write(&plain, "symbols\n", 8), 8);
  (void)kiv_close_stream(&plain);
  std::vector<int32_t> values;
  EXPECT_GT(converse(serving.port, "bytes 10000 65536\n", true, &values).size(), 65536u);
  EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
  EXPECT_EQ(std::set<int32_t>(values.begin(), values.end()).size(), 61u);  // 1 to 61: there are some more chunks
  std::remove(path.c_str());
}

TEST(KivInspectServe, NoClientKeepsOthersWaiting) {
  const std::string path = write_file("served_beside", image_to_serve());
  Serving serving(path, 7, 60, 3);
  KIV_STREAM silent, greedy;
  ASSERT_EQ(kiv_open_stream(&silent, "127.0.0.1", serving.port), 0);
  ASSERT_EQ(kiv_open_stream(&greedy, "127.0.0.1", serving.port), 0);
  ASSERT_TRUE(set_up_connection(&greedy));
  const std::string request = kGreeting + "7 bytes 10000 1073741824\n";  // and takes no more than a start
  EXPECT_EQ(kiv_socket_write(&greedy, request.data(), static_cast<int32_t>(request.size())), int(request.size()));
  char line[32] = "";
  for (const char *start : {"0 v1.0", "7 o00010000 "}) {
    EXPECT_GE(kiv_socket_read_line(&greedy, line, sizeof line), 6);
    EXPECT_TRUE(std::string(line).starts_with(start)) << line;
  }
  for (int i = 0; i < 5; ++i) EXPECT_EQ(converse(serving.port, "resolve main\n"), "o00001000 main\n=0\n");
  (void)kiv_close_stream(&silent);
  (void)kiv_close_stream(&greedy);
  std::remove(path.c_str());
}

TEST(KivInspectServe, AnswersSeveralAtOnce) {
  DwarfBuilder builder({5, false, false, ByteOrder::big});
  builder.begin_unit();
  builder.entry(39, false, {{3, 8, 0, "c"}, {28, 8, 0, "text"}});
  Image damaged = image_to_serve();
  damaged.put_at(damaged.marks.at("symtab header") + 16, 0x7FFFFFFF, 4);  // its offset
  const struct {
    Image image;
    Words requests;
  } kRows[] = {{image_to_serve(),
                {"symbols\n", "symbols --by-size\n", "symbols --by-name\n", "resolve main 1012\n",
                 "ranges 1000 ffffffff\n", "bytes 1000 64 3:12\n", "sections\n", "spaces\n", "resolve P:1012\n"}},
               {builder.elf(), {"constants\n", "constants c\n", "constants a b\n"}},
               {damaged, {"bytes 1000 64\n", "symbols\n", "bytes 1010 16\n", "ranges 1000 2000\n"}}};
  constexpr uint32_t kThreads = 4, kRounds = 5;
  for (const auto &row : kRows) {
    const std::string path = write_file("served_at_once", row.image);
    const auto count = static_cast<uint32_t>(row.requests.size());
    Words replies;
    {
      Serving alone(path, static_cast<int>(count));
      for (const auto &request : row.requests) replies.push_back(converse(alone.port, request));
    }
    Serving serving(path, static_cast<int>(kThreads * kRounds * count), 60, kThreads - 1);
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        for (uint32_t i = thread; i < thread + kRounds * count; ++i)
          EXPECT_EQ(converse(serving.port, row.requests[i % count]), replies[i % count]) << row.requests[i % count];
      });
    }
    for (auto &thread : threads) thread.join();
    serving.end();
    std::remove(path.c_str());
  }
}

TEST(KivInspectServe, OutlivesLackOfMemory) {
  const std::string path = write_file("served_sweep", image_to_serve());
  const std::vector<std::pair<Words, std::string>> rows = {
      {{"symbols", "--by-size"}, "00001000       32 F main\n00001010        4 O a \"b\" c\n"},
      {{"resolve", "main", "1001"}, "00001000 main\n00001001 main+0x1\n"},
      {{"ranges", "1014", "1014"}, "00001000 000010ff S .text\n00001000 0000101f F main\n"}};
  const uint32_t failures = sweep_failures([&](CountingAllocator &allocator) {
    RequestHandler handler(path.c_str(), allocator.record());
    for (int round = 0; round < 2; ++round) {
      for (const auto &[request, text] : rows) {
        Words words = request;
        std::vector<char *> pointers;
        for (auto &word : words) pointers.push_back(word.data());
        TextSink out, err;
        const Outcome outcome = handler.answer(static_cast<int>(words.size()), pointers.data(), out, err);
        EXPECT_EQ(outcome == Outcome::done, err.text.empty());
        if (outcome == Outcome::done) EXPECT_EQ(out.text, text);
      }
    }
  });
  EXPECT_GT(failures, 20u);
  std::remove(path.c_str());
}

TEST(KivInspectServe, ServesOnceAndTellsWhatItHasLeft) {
  const std::string path = write_file("served_once", image_to_serve());
  uint16_t port = 0;
  ProcessResult served = {};
  for (int attempt = 0; attempt < 20 && served.exit_code == 0 && served.out.empty(); ++attempt) {
    kiv_socket_init();
    KIV_SERVER free_port = {};
    ASSERT_EQ(kiv_start_server(&free_port, 0), 0);
    port = port_of(free_port);
    (void)kiv_stop_server(&free_port);
    std::atomic<bool> ended = false;
    std::thread server([&] {
      served = run_inspect({"--debug-heap", "serve", "--once", path, std::to_string(port)});
      ended = true;
    });
    ProcessResult asked = {};
    do asked = ask(port, {"resolve", "main"});
    while (asked.exit_code != 0 && !ended);
    server.join();
    kiv_socket_finalize();
    if (served.exit_code != 0) served = {};  // someone was faster at this port: another one
    if (!served.out.empty()) EXPECT_EQ(asked.out, "00001000 main\n");
  }
  EXPECT_EQ(served.out, "serving \"" + path + "\" at port " + std::to_string(port) + "\n");
  EXPECT_EQ(served.err, "");
  EXPECT_EQ(run_inspect({"serve", path + ".not", "0"}).exit_code, 1);
  for (const Words &words : std::vector<Words>{{"serve", path},
                                               {"serve", path, "65536"},
                                               {"serve", "--patience", "0", path, "0"},
                                               {"serve", "--clients", "65", path, "0"},
                                               {"ask", "localhost"},
                                               {"ask", "localhost", "0", "symbols"},
                                               {"ask", "localhost", "1", "a\nb"},
                                               {"ask", "localhost", "1", std::string(kRequestSize, 'x')}})
    EXPECT_EQ(run_inspect(words).exit_code, 2) << words[1];
  std::remove(path.c_str());
}

TEST(KivInspectServe, BelievesNoServer) {
  const struct {
    const char *greeting, *reply, *out, *words;  // no reply: there is no request either
    int exit_code;
  } kRows[] = {{"0 v1.7", "3 ob\x1b[2J\n1 oa\n3 eb\x07\n3 =1\n1 =0\n", "b^[[2J\na\n", "b^G\n", 1},
               {"0 v1.0", "3 =2\n1 =0\n3 oa\n", "", "", 2},
               {"0 v1.0", "1 oa\n1 =0\n", "a\n", "the connection ended before the reply did\n", 1},
               {"0 v1.0", "1 =0\n1 oa\n", "", "a reply came for request 1, which is not under way\n", 1},
               {"0 v1.0", "18446744073709551615 =0\n", "", "request 18446744073709551615, which is not under way\n", 1},
               {"0 v1.0", "0 e*\n0 =2\n", "", "*\n", 1},
               {"0 v1.0", "0 oa\n", "", "the reply makes no sense\n", 1},
               {"0 v1.0", "12\n", "", "the reply makes no sense\n", 1},
               {"0 v1.0", "1 xa\n1 =0\n", "", "the reply makes no sense\n", 1},
               {"0 v1.0", "1\n", "", "the reply makes no sense\n", 1},
               {"0 v1.0", "1 =-1\n", "", "the reply makes no sense\n", 1},
               {"0 e1.0", "", "", "the server does not tell the version of its protocol\n", 1},
               {"0 v65536.0", "", "", "the server does not tell the version of its protocol\n", 1},
               {"0 v2.3", "", "", "its protocol 2.3 is newer than 1.0, which is spoken here\n", 1},
               {"0 v0.9", "", "", "its protocol 0.9 is older than 1.0, which is spoken here\n", 1},
               {"0 v0.9.1.1", "", "", "its protocol 0.9.1.1 has gone another way than 1.0, which is spoken here\n", 1}};
  kiv_socket_init();
  KIV_SERVER server = {};
  ASSERT_EQ(kiv_start_server(&server, 0), 0);
  for (const auto &row : kRows) {
    std::thread answering([&] {
      KIV_STREAM stream;
      if (kiv_socket_accept(&server, &stream, nullptr) != 0 || !set_up_connection(&stream)) return;
      const std::string greeting = std::string(row.greeting) + "\n", reply = row.reply;
      char line[64] = "";
      (void)kiv_socket_read_line(&stream, line, sizeof line);
      EXPECT_EQ(std::string(line) + "\n", kGreeting);
      (void)kiv_socket_write(&stream, greeting.data(), static_cast<int32_t>(greeting.size()));
      for (const char *request : {"1 symbols \"\" a b", "3 x"}) {
        if (reply.empty()) continue;
        (void)kiv_socket_read_line(&stream, line, sizeof line);
        EXPECT_STREQ(line, request);
      }
      (void)kiv_socket_write(&stream, reply.data(), static_cast<int32_t>(reply.size()));
      (void)kiv_close_stream(&stream);
    });
    const auto asked = run_program(program_beside("kiv_inspect"), {"ask", "127.0.0.1", std::to_string(port_of(server))},
                                   "symbols \"\" a b\n\n x ");
    answering.join();
    EXPECT_EQ(asked.exit_code, row.exit_code) << row.reply << asked.err;
    EXPECT_EQ(asked.out, row.out);
    EXPECT_NE(asked.err.find(row.words), std::string::npos) << asked.err;
  }
  (void)kiv_stop_server(&server);
  kiv_socket_finalize();
}

#ifndef _WIN32
// Descriptors of closed streams are free for the connection.
TEST(KivInspectServe, ConnectionTakesNoStreamsPlace) {
  const std::string path = write_file("served_closed", image_to_serve());
  Serving serving(path, 2);
  const auto ask_without = [&](const std::string &stream) {
    return run_program("/bin/sh", {"-c", "exec \"$0\" ask 127.0.0.1 " + std::to_string(serving.port) + stream,
                                   program_beside("kiv_inspect")});
  };
  const auto without_input = ask_without(" <&-"), without_output = ask_without(" resolve main >&-");
  EXPECT_EQ(without_input.exit_code, 1);
  EXPECT_NE(without_input.err.find("standard input cannot be read"), std::string::npos) << without_input.err;
  EXPECT_EQ(without_output.exit_code, 1);
  EXPECT_NE(without_output.err.find("the output cannot be written"), std::string::npos) << without_output.err;
  std::remove(path.c_str());
}
#endif

TEST(KivInspectServe, CarriesAllWords) {
  auto random = make_random();
  for (int round = 0; round < 2000; ++round) {
    Words words(below(random, 5));
    std::vector<const char *> pointers;
    for (auto &word : words) {
      for (uint32_t i = below(random, 6); i > 0; --i) word += "a \"\xff"[below(random, 4)];
      pointers.push_back(word.c_str());
    }
    char line[kRequestSize];
    char *parts[kMostWords];
    int size = join_request(UINT64_MAX - 5, static_cast<int>(words.size()), pointers.data(), line);
    ASSERT_GT(size, 0);
    EXPECT_EQ(take_request_number(line, &size), UINT64_MAX - 5);
    const int count = split_request(line, size, parts);
    ASSERT_EQ(count, static_cast<int>(words.size()));
    for (int i = 0; i < count; ++i) EXPECT_EQ(parts[i], words[static_cast<size_t>(i)]);
  }
}

}  // namespace
