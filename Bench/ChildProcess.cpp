#include <Bench/ChildProcess.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace mirel::bench {

namespace {

std::string ReadAll(int descriptor) {
  std::string text;
  char block[4096];
  for (ssize_t count = 0; (count = read(descriptor, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(count));
  return text;
}

std::string LastLine(std::string text) {
  while (!text.empty() && text.back() == '\n')
    text.pop_back();
  return text.substr(text.find_last_of('\n') + 1);
}

}  // namespace

std::string ReadOutput(const std::vector<std::string>& command) {
  std::vector<char*> argv;
  std::string words;
  for (const std::string& word : command) {
    argv.push_back(const_cast<char*>(word.c_str()));
    words += ' ' + word;
  }
  argv.push_back(nullptr);

  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  close(ends[1]);
  std::string output = child > 0 ? ReadAll(ends[0]) : std::string();
  close(ends[0]);
  int status = -1;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("failed:" + words);
  }
  return output;
}

Figures RunChild(const std::vector<std::string>& arguments) {
  std::vector<std::string> command{"/proc/self/exe"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const std::optional<Figures> figures = Figures::FromJson(LastLine(ReadOutput(command)));
  if (!figures) throw std::runtime_error("no figures from task " + arguments.at(1));
  return *figures;
}

}  // namespace mirel::bench
