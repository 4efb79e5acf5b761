#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

#include "cli/processes.h"
#include "imagelib/system_files.h"

namespace imx {
namespace {

/// The copies, where a signal handler can read them; 0 = free.
volatile std::sig_atomic_t copies[1024];

/// This end of each one's channel, in the order in which they are looked at.
struct Channel {
  pid_t copy;
  int socket;
};
std::vector<Channel> channels;

bool Replace(pid_t present, pid_t next) {
  for (volatile std::sig_atomic_t& copy : copies) {
    if (copy != present) continue;
    copy = next;
    return true;
  }
  return false;
}

/// Starts the program with `socket` as its standard input and output. 0 when that fails.
pid_t Spawn(char* const* arguments, int socket) {
  posix_spawnattr_t attributes;
  if (posix_spawnattr_init(&attributes) != 0) return 0;
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) {
    posix_spawnattr_destroy(&attributes);
    return 0;
  }
  sigset_t held;
  sigprocmask(SIG_BLOCK, nullptr, &held);
  posix_spawnattr_setsigmask(&attributes, &held);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t process = 0;
  if (posix_spawn_file_actions_adddup2(&actions, socket, STDIN_FILENO) == 0 &&
      posix_spawn_file_actions_adddup2(&actions, socket, STDOUT_FILENO) == 0) {
    // An end between the two steps would leave the copy running.
    const EndHold hold;
    const int failed =
        posix_spawn(&process, "/proc/self/exe", &actions, &attributes, arguments, environ);
    if (failed || !Replace(0, process)) process = 0;
  }
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  return process;
}

/// Forgets a copy whose channel has ended, and so the copy or soon.
CopyNews TakeEnded(std::size_t at) {
  const Channel channel = channels[at];
  channels.erase(channels.begin() + static_cast<std::ptrdiff_t>(at));
  close(channel.socket);
  CopyNews news = {channel.copy, {}, true, -1};
  siginfo_t info = {};
  // Left to be collected until no signal handler can take its number for a running copy's.
  while (waitid(P_PID, static_cast<id_t>(channel.copy), &info, WEXITED | WNOWAIT) != 0) {
    if (errno != EINTR) return news;
  }
  const EndHold hold;
  int status = 0;
  if (waitpid(channel.copy, &status, 0) == channel.copy && WIFEXITED(status)) {
    news.status = WEXITSTATUS(status);
  }
  Replace(channel.copy, 0);
  return news;
}

}  // namespace

int ProcessorCount() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count > 1 ? static_cast<int>(count) : 1;
}

std::size_t MostCopies() {
  return std::size(copies);
}

CopyId StartCopy(const std::vector<std::string>& arguments) {
  char name[] = "imx";
  std::vector<std::string> all = arguments;
  std::vector<char*> pointers = {name};
  for (std::string& argument : all) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  channels.reserve(channels.size() + 1);

  // Not pipes: writing to a copy that is gone must not end the program.
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return 0;
  const pid_t process = Spawn(pointers.data(), ends[1]);
  close(ends[1]);
  if (process == 0) {
    close(ends[0]);
    return 0;
  }
  channels.push_back({process, ends[0]});
  return process;
}

void EndWithParent() {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
}

bool SendToCopy(CopyId copy, std::string_view bytes) {
  const auto channel = std::find_if(channels.begin(), channels.end(),
                                    [copy](const Channel& c) { return c.copy == copy; });
  if (channel == channels.end()) return false;
  while (!bytes.empty()) {
    const ssize_t sent = send(channel->socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

CopyNews WaitForCopies(int milliseconds) {
  std::vector<pollfd> polled;
  polled.reserve(channels.size());
  for (const Channel& channel : channels) polled.push_back({channel.socket, POLLIN, 0});
  if (poll(polled.data(), polled.size(), milliseconds) <= 0) return {};
  for (std::size_t i = 0; i < polled.size(); ++i) {
    if (polled[i].revents == 0) continue;
    char buffer[16384];
    const ssize_t got = recv(channels[i].socket, buffer, sizeof buffer, 0);
    if (got < 0 && errno == EINTR) return {};
    if (got <= 0) return TakeEnded(i);
    const Channel channel = channels[i];
    // The others have their turn first the next time.
    std::rotate(channels.begin() + static_cast<std::ptrdiff_t>(i),
                channels.begin() + static_cast<std::ptrdiff_t>(i) + 1, channels.end());
    return {channel.copy, std::string(buffer, static_cast<std::size_t>(got)), false, -1};
  }
  return {};
}

void EndCopies(int signal) {
  for (const pid_t process : copies) {
    if (process == 0) continue;
    kill(process, signal);
    kill(process, SIGCONT);  // a stopped one would never see it
  }
  for (const pid_t process : copies) {
    if (process != 0) waitpid(process, nullptr, 0);
  }
}

}  // namespace imx
