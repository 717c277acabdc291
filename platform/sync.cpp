// The process id service of the platform.
#include "platform/sync.h"

#include <unistd.h>

namespace scrivix::platform {

LONG CurrentProcessId() { return static_cast<LONG>(::getpid()); }

}  // namespace scrivix::platform
