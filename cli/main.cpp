/// imx: the image library from the command line.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "cli/console.h"
#include "cli/documents.h"
#include "cli/host.h"
#include "cli/options.h"

namespace imx {
namespace {

/// The program's own options stand alone. Empty when `argument` is none of them.
std::string OwnText(const std::string& argument) {
  if (argument == "--help" || argument == "-h") return HelpText();
  if (argument == "--version") return "imx " IMX_VERSION "\n";
  if (argument == "--print-man") return ManualPage();
  if (argument == "--print-quirks") return QuirkTable();
  constexpr std::string_view kCompletion = "--print-completion=";
  if (argument.starts_with(kCompletion)) return Completion(argument.substr(kCompletion.size()));
  return {};
}

/// IMX_INTEROP stands for --interop where the command line does not choose. Empty, or what is
/// wrong.
std::string ReadEnvironment(Request* request) {
  const char* interop = std::getenv("IMX_INTEROP");
  if (!interop || !*interop || std::strcmp(interop, "0") == 0 || request->interop) return {};
  const std::string fault =
      SetInterop(*request, std::strcmp(interop, "1") == 0 ? nullptr : interop);
  return fault.empty() ? fault : "IMX_INTEROP '" + std::string(interop) + "' " + fault;
}

int RunCommand(const Command& command, const Request& request) {
  InstallHost(request.quiet, request.partOfBatch);
  const int status = ReportingOutOfMemory({}, [&] { return command.run(request); });
  LibraryShutdown();
  return status == kDone && GetMemoryCounters().faults > 0 ? kFailed : status;
}

int Run(const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    std::fprintf(stderr, "%s", HelpText().c_str());
    return kUsageError;
  }
  const std::string own = OwnText(arguments[0]);
  if (!own.empty()) {
    std::fwrite(own.data(), 1, own.size(), stdout);
    return kDone;
  }
  const Command* command = FindCommand(arguments[0]);
  if (!command) {
    std::fprintf(stderr, "imx: there is no command '%s' (imx --help lists them)\n",
                 Printable(arguments[0]).c_str());
    return kUsageError;
  }
  Request request;
  const std::string fault = ParseArguments(*command, std::span(arguments).subspan(1), &request);
  if (!fault.empty()) return UsageError(command->name, fault);
  if (const std::string wrong = ReadEnvironment(&request); !wrong.empty()) {
    return UsageError(command->name, wrong);
  }
  if (request.help) {
    std::fputs(HelpText(*command).c_str(), stdout);
    return kDone;
  }
  return RunCommand(*command, request);
}

/// What is still buffered may be what the disk has no room for. A command that failed has said why.
int CloseOutput(int status) {
  const bool failed = std::ferror(stdout) != 0;
  if ((std::fflush(stdout) == 0 && !failed) || status != kDone) return status;
  ReportFailure("standard output", std::strerror(errno));
  return kFailed;
}

}  // namespace
}  // namespace imx

int main(int argc, char** argv) {
  imx::MakeStandardStreamsBinary();
  imx::HandleInterrupts();
  return imx::ReportingOutOfMemory({}, [&] {
    const std::vector<std::string> arguments(argv + (argc > 0), argv + argc);
    return imx::CloseOutput(imx::Run(arguments));
  });
}
