/// imx: the image library from the command line.

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
  int status = command.failed;
  ReportingOutOfMemory({}, [&] { return status = command.run(request); });
  LibraryShutdown();
  if (status == command.failed) return status;  // which has been told
  return GetMemoryCounters().faults == 0 && FlushOutput() ? status : command.failed;
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

}  // namespace
}  // namespace imx

int main(int argc, char** argv) {
  imx::MakeStandardStreamsBinary();
  imx::HandleInterrupts();
  // Found before there is anything to run out of.
  const imx::Command* const command = argc > 1 ? imx::FindCommand(argv[1]) : nullptr;
  int status = command ? command->failed : imx::kFailed;
  imx::ReportingOutOfMemory({}, [&] {
    status = imx::Run(std::vector<std::string>(argv + (argc > 0), argv + argc));
    if (status == imx::kDone && !imx::FlushOutput()) status = imx::kFailed;
    return status;
  });
  return status;
}
