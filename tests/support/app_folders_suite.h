#pragma once

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace brevelan::testing {

// A fixture whose tests share one temporary folder for the suite, holding
// the application's data and cache folders (see TempDir::holdAppFolders).
class AppFoldersSuite : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    dir_->holdAppFolders();
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }

  static inline TempDir* dir_ = nullptr;
};

}  // namespace brevelan::testing
