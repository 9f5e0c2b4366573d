// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

#include <Standard_Failure.hxx>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/cad_shapes.h"
#include "support/temporary_folder.h"
#include "zelmo/model/model_3d_feature.h"
#include "zelmo/model/model_curve.h"

namespace xmodelfeature {
namespace {

/// How the reading of a damaged file ends; a child process exits with the first four.
enum End { Listed, Refused, FailureOfOcc, OtherException, TimedOut, Crashed, kEnds };
constexpr const char* kNames[] = {"result", "code", "exception", "other", "time-out", "crash"};

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

End readAndList(zelmo::test::Reader reader, std::string path, bool& has_read) {
  try {
    TopoDS_Shape shape;
    const int status = reader(path.data(), shape);
    has_read = true;
    if (status != 1) return Refused;
    XModel3DFeature features;
    features.get3DFeatureData(shape);
    XModelCurve curves;
    curves.setData(shape);
    curves.getCurveData(shape);
    std::vector<XFModelEdge> edges;
    curves.getCurveSplitData(shape, edges);
    return Listed;
  } catch (const Standard_Failure&) {
    return FailureOfOcc;
  } catch (...) {
    return OtherException;
  }
}

/// \param[out] has_read in memory that the processes share
End endInChild(zelmo::test::Reader reader, const std::string& path, bool& has_read) {
  has_read = false;
  const pid_t child = fork();
  if (child == 0) {
    const rlimit seconds = {2, 3};
    setrlimit(RLIMIT_CPU, &seconds);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    _exit(readAndList(reader, path, has_read));
  }
  int status = 0;
  waitpid(child, &status, 0);
  // A sanitizer that catches the signal ends the child with a code of its own.
  if (WIFEXITED(status)) return static_cast<End>(std::min(WEXITSTATUS(status), int{Crashed}));
  return WTERMSIG(status) == SIGXCPU ? TimedOut : Crashed;
}

/// Reads damaged variants of a file and counts how they end. OpenCASCADE itself dies of some: of
/// references to nothing, which it follows. What comes after its reading does not.
/// More variants by hand: ZELMO_DAMAGED_FILES is their count.
void readDamagedVariants(zelmo::test::Reader reader, const std::filesystem::path& good, int count,
                         unsigned seed) {
  const char* wanted = std::getenv("ZELMO_DAMAGED_FILES");  // NOLINT: no thread runs here
  if (wanted != nullptr) count = std::atoi(wanted);         // NOLINT: a number that we typed
  void* shared = mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(shared, MAP_FAILED);
  bool& has_read = *static_cast<bool*>(shared);
  const std::string text = zelmo::test::contentOf(good), path = good.string() + ".damaged";
  std::mt19937 random(seed);
  std::array<int, kEnds> ended{};
  for (int i = 0; i < count; ++i) {
    std::ofstream(path, std::ios::binary) << damaged(text, random);
    const End end = endInChild(reader, path, has_read);
    ++ended.at(end);
    EXPECT_FALSE(end >= TimedOut && has_read) << "variant " << i << " after the reading";
  }
  munmap(shared, 1);
  EXPECT_EQ(ended[OtherException], 0);
  EXPECT_GT(ended[Listed], 0);
  for (std::size_t i = 0; i < kEnds; ++i) {
    testing::Test::RecordProperty(good.filename().string() + " " + kNames[i], ended.at(i));
  }
}

TEST(DamagedFiles, EndInAResultACodeOrAnException) {
  const zelmo::test::TemporaryFolder folder;
  const std::vector<TopoDS_Shape> shapes = {BRepPrimAPI_MakeBox(1, 2, 3),
                                            BRepPrimAPI_MakeCone(4, 1, 5)};
  zelmo::test::writeStep(shapes, folder.path() / "step");
  readDamagedVariants(&XReadModel::readStepFile, folder.path() / "step", 150, 7);
  zelmo::test::writeIges(shapes, folder.path() / "iges");
  readDamagedVariants(&XReadModel::readIgesFile, folder.path() / "iges", 100, 8);
}

}  // namespace
}  // namespace xmodelfeature
