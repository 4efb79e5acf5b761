/// Many inputs, many outputs.
#pragma once

#include "cli/batch_items.h"
#include "cli/batch_progress.h"
#include "cli/options.h"
#include "cli/workers.h"

namespace imx {

/// Converts what the request names, by workers, each file as if it were alone. An exit status.
int ConvertBatch(const Request& request);

/// A plan of `command`'s workers, which know its options; what the run asks and tells is left out.
WorkPlan PlanOfWorkers(const Request& request, const char* command);

/// Tells how the run over `gathering` ended.
void ConcludeBatch(const Request& request, const Gathering& gathering, const BatchCounts& counts,
                   double seconds);

}  // namespace imx
