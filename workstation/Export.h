// The mark of what the workstation library offers to the program and the tests, beside the host's operations.
#pragma once

#define WORKSTATION_API __attribute__((visibility("default")))
