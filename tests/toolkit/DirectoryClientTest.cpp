#include "toolkit/DirectoryClient.h"

#include <gtest/gtest.h>

TEST(DirectoryClient, Compiles) {}
