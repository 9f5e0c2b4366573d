// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

#include <Standard_Failure.hxx>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/cad_shapes.h"
#include "support/temporary_folder.h"
#include "zelmo/model/model_3d_feature.h"
#include "zelmo/model/model_curve.h"

namespace xmodelfeature {
namespace {

/// How far a child process came with a damaged file.
enum Stage : char {
  Started,
  Reading,
  Refused,
  Listing,
  Done,
  FailureOfOcc,
  OtherException,
  kStages
};

std::string damaged(std::string text, std::mt19937& random) {
  const auto below = [&random](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
  };
  const std::size_t kind = below(4);
  for (std::size_t times = 1 + below(4); times > 0; --times) {
    const std::size_t at = below(text.size());
    if (kind == 0) text[at] = static_cast<char>(below(256));
    if (kind == 1) text.erase(at, 1 + below(60));
    if (kind == 2) text.insert(at, text.substr(below(text.size()), 1 + below(80)));
    if (kind == 3) {
      const std::size_t digit = text.find_first_of("0123456789", at);
      if (digit != std::string::npos) text[digit] = static_cast<char>('0' + below(10));
    }
    if (text.empty()) text = " ";
  }
  if (below(10) == 0) text.resize(below(text.size()) + 1);
  return text;
}

[[noreturn]] void readInChild(zelmo::test::Reader reader, std::string path, int report) {
  const rlimit seconds = {5, 5};
  setrlimit(RLIMIT_CPU, &seconds);
  const int nowhere = open("/dev/null", O_WRONLY);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  const auto say = [report](Stage stage) {
    if (write(report, &stage, 1) != 1) _exit(2);
  };
  say(Reading);
  try {
    TopoDS_Shape shape;
    if (reader(path.data(), shape) != 1) {
      say(Refused);
      _exit(0);
    }
    say(Listing);
    XModel3DFeature features;
    features.get3DFeatureData(shape);
    XModelCurve curves;
    curves.setData(shape);
    curves.getCurveData(shape);
    std::vector<XFModelEdge> edges;
    curves.getCurveSplitData(shape, edges);
    say(Done);
  } catch (const Standard_Failure&) {
    say(FailureOfOcc);
  } catch (...) {
    say(OtherException);
  }
  _exit(0);
}

struct Outcome {
  Stage stage = Started;
  bool died = false;
};

Outcome readDamaged(zelmo::test::Reader reader, const std::filesystem::path& path) {
  int ends[2];
  if (pipe(ends) != 0) return {};
  const pid_t child = fork();
  if (child == 0) readInChild(reader, path.string(), ends[1]);
  close(ends[1]);
  Outcome outcome;
  while (read(ends[0], &outcome.stage, 1) == 1) {
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  outcome.died = !WIFEXITED(status) || WEXITSTATUS(status) != 0;
  return outcome;
}

/// Reads damaged variants of a file and counts how they end. OpenCASCADE itself dies of some: of
/// references to nothing, which it follows. What comes after its reading does not.
void readDamagedVariants(zelmo::test::Reader reader, const std::filesystem::path& good, int count,
                         unsigned seed) {
  const std::string text = zelmo::test::contentOf(good);
  std::mt19937 random(seed);
  std::array<int, kStages> ended{};
  int died_reading = 0;
  for (int i = 0; i < count; ++i) {
    const auto path = good.parent_path() / "damaged";
    std::ofstream(path, std::ios::binary) << damaged(text, random);
    const Outcome outcome = readDamaged(reader, path);
    if (outcome.died) {
      EXPECT_EQ(outcome.stage, Reading)
          << "variant " << i << " ended the process after the reading";
      ++died_reading;
    } else {
      ++ended[static_cast<std::size_t>(outcome.stage)];
    }
  }
  EXPECT_EQ(ended[OtherException], 0);
  EXPECT_GT(ended[Done], 0);
  testing::Test::RecordProperty("result", ended[Done]);
  testing::Test::RecordProperty("code", ended[Refused]);
  testing::Test::RecordProperty("exception", ended[FailureOfOcc]);
  testing::Test::RecordProperty("died inside OpenCASCADE", died_reading);
}

/// More variants by hand: ZELMO_DAMAGED_FILES is their count.
int variants(int usual) {
  const char* wanted = std::getenv("ZELMO_DAMAGED_FILES");  // NOLINT: no thread runs here
  return wanted != nullptr ? std::atoi(wanted) : usual;     // NOLINT: a number that we typed
}

TEST(DamagedFiles, Step) {
  const zelmo::test::TemporaryFolder folder;
  zelmo::test::writeStep({BRepPrimAPI_MakeBox(1, 2, 3), BRepPrimAPI_MakeCone(4, 1, 5)},
                         folder.path() / "good");
  readDamagedVariants(&XReadModel::readStepFile, folder.path() / "good", variants(150), 7);
}

TEST(DamagedFiles, Iges) {
  const zelmo::test::TemporaryFolder folder;
  zelmo::test::writeIges({BRepPrimAPI_MakeBox(1, 2, 3), BRepPrimAPI_MakeCone(4, 1, 5)},
                         folder.path() / "good");
  readDamagedVariants(&XReadModel::readIgesFile, folder.path() / "good", variants(100), 8);
}

}  // namespace
}  // namespace xmodelfeature
