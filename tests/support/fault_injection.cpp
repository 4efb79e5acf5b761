#include "tests/support/fault_injection.h"

#include "imagelib/core/file_writer.h"
#include "imagelib/core/memory.h"

namespace imx::test {
namespace {

int allocationsLeft = 0;
int writesLeft = 0;

}  // namespace

AllocationFailure::AllocationFailure(int n) {
  allocationsLeft = n;
  SetAllocationGate([] { return allocationsLeft-- != 0; });
}
AllocationFailure::~AllocationFailure() {
  SetAllocationGate(nullptr);
}
bool AllocationFailure::reached() const {
  return allocationsLeft < 0;
}

WriteFailure::WriteFailure(int n) {
  writesLeft = n;
  SetWriteGate([] { return writesLeft-- != 0; });
}
WriteFailure::~WriteFailure() {
  SetWriteGate(nullptr);
}
bool WriteFailure::reached() const {
  return writesLeft < 0;
}

}  // namespace imx::test
