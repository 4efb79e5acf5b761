// The installer's tokens, and the arguments of imx.

#include "cli/options.h"
#include "fuzz/targets.h"
#include "setup/core/token_expander.h"
#include "tests/setup/expand_by_search.h"

namespace imx::test {
namespace {

std::string Line(Input& input) {
  const Bytes bytes = input.Before('\n');
  return {bytes.begin(), bytes.end()};
}

}  // namespace

/// Three lines with the replacements, then the template.
void FuzzTokens(Run& run) {
  TokenTexts texts{Line(run.input), Line(run.input), Line(run.input), {}};
  texts.barredData = texts.data;
  std::replace(texts.barredData.begin(), texts.barredData.end(), ' ', '|');
  const Bytes bytes = run.input.Rest();
  const std::string source(bytes.begin(), bytes.end());
  Require(expandTokens(texts, source) == expandBySearch(texts, source), "expanded otherwise");
}

/// A byte for the command, then an argument in each line.
void FuzzArguments(Run& run) {
  const Command& command =
      Commands()[static_cast<std::size_t>(run.input.Choice(static_cast<int>(Commands().size())))];
  std::vector<std::string> arguments;
  while (!run.input.ended()) arguments.push_back(Line(run.input));
  Request request;
  if (!ParseArguments(command, arguments, &request).empty()) return;
  if (!request.help && !request.filesFrom && !request.partOfBatch) {
    const std::size_t operands = request.operands.size();
    Require(operands >= command.fewestOperands && operands <= command.mostOperands,
            "another number of operands");
  }
  // Workers of a batch are given the options, then the operands.
  std::vector<std::string> again = request.options;
  again.push_back("--");
  again.insert(again.end(), request.operands.begin(), request.operands.end());
  Request second;
  Require(ParseArguments(command, again, &second).empty(), "refused the second time");
  Require(second.options == request.options && second.operands == request.operands &&
              second.steps.size() == request.steps.size(),
          "read otherwise the second time");
}

}  // namespace imx::test
