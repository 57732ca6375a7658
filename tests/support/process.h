// Runs programs and looks at how they ended: for tests of fatal paths, and of the tools.
#ifndef KIV_TESTS_SUPPORT_PROCESS_H
#define KIV_TESTS_SUPPORT_PROCESS_H

#include <string>
#include <vector>

namespace kiv::test {

struct ProcessResult {
  int exit_code;  // -1: ended by a signal; on Windows a crash gives its exception code
  std::string out;
  std::string err;
};

/// Runs a program to its end. Standard output and standard error are given as the program wrote them, but for the
/// carriage returns that Windows puts before line feeds.
ProcessResult run_program(const std::string &path, const std::vector<std::string> &arguments);

/// The path of the running test program, and of a program beside it.
std::string this_program();
std::string program_beside(const std::string &name);

/// Runs the function that KIV_CHILD registered, in a process of its own. It ends with exit code 0 when the function
/// returns.
ProcessResult run_child(const std::string &name);

/// In a child's function: what stands behind --child=NAME on the command line.
const std::vector<std::string> &child_arguments();

/// Registers a child's function at start-up; use KIV_CHILD.
struct ChildRegistration {
  ChildRegistration(const char *name, void (*function)());
};

/// Runs the child that the command line asks for, if it does, and exits.
void run_child_if_asked(int argc, char **argv);

}  // namespace kiv::test

#define KIV_CHILD(name)                                                                         \
  static void child_##name();                                                                   \
  static const ::kiv::test::ChildRegistration child_##name##_registration(#name, child_##name); \
  static void child_##name()

#endif
