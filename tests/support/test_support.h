// Helpers shared by the test suites.
#pragma once

#include <scrivix/scrivix.h>

#include <string>

namespace scrivix::test {

// The number of objects of the module alive now (objects plus server locks).
long LiveObjects();

}  // namespace scrivix::test
