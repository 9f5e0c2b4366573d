// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/simplex_driver.h"

#include <cmath>
#include <vector>

#include <gsl/gsl_errno.h>
#include <gtest/gtest.h>

namespace zelmo::test {
namespace {

struct Bowl {
  double steps_per_unit;  // values are rounded down to this many, so that corners tie at the floor
  int evaluations = 0;

  static double value(const gsl_vector* v, void* params) {
    auto& bowl = *static_cast<Bowl*>(params);
    ++bowl.evaluations;
    double sum = 0;
    for (std::size_t i = 0; i < v->size; ++i) {
      const double x = gsl_vector_get(v, i) - 0.3 * static_cast<double>(i);
      sum += (1 + static_cast<double>(i)) * x * x;
    }
    return std::floor(sum * bowl.steps_per_unit);
  }
};

struct End {
  int iterations = 0, evaluations = 0;
  std::vector<double> x;
};

template <typename Descend>
End endOf(Bowl bowl, std::size_t n, Descend run) {
  gsl_multimin_function function = {Bowl::value, n, &bowl};
  const auto minimiser = internal::makeMinimiser(n);
  const auto start = internal::makeGslVector(n);
  const auto step = internal::makeGslVector(n);
  gsl_vector_set_all(start.get(), 2.0);
  gsl_vector_set_all(step.get(), 0.1);
  End end;
  end.iterations = run(&function, minimiser.get(), start.get(), step.get());
  const gsl_vector* x = gsl_multimin_fminimizer_x(minimiser.get());
  for (std::size_t i = 0; i < n; ++i) end.x.push_back(gsl_vector_get(x, i));
  end.evaluations = bowl.evaluations;
  return end;
}

// Every step made, by GSL alone.
int allSteps(gsl_multimin_function* function, gsl_multimin_fminimizer* minimiser,
             const gsl_vector* start, const gsl_vector* step, int limit) {
  gsl_multimin_fminimizer_set(minimiser, function, start, step);
  for (int i = 1;; ++i) {
    if (gsl_multimin_fminimizer_iterate(minimiser) == GSL_ENOPROG || i == limit) return i;
    if (gsl_multimin_fminimizer_size(minimiser) < 1e-12) return i;
  }
}

TEST(SimplexDriver, EndsWhereAllStepsWouldHaveEnded) {
  int shortened = 0;
  for (const std::size_t n : {2U, 3U, 7U}) {
    for (const double steps_per_unit : {1.0, 10.0, 1e3, 1e6, 1e12}) {
      for (const int limit : {1, 2000, 2001}) {
        SCOPED_TRACE(testing::Message() << n << ' ' << steps_per_unit << ' ' << limit);
        const auto plain =
            endOf({steps_per_unit}, n, [limit](auto... a) { return allSteps(a..., limit); });
        const auto own = endOf({steps_per_unit}, n,
                               [limit](auto... a) { return internal::descend(a..., limit); });
        EXPECT_EQ(own.iterations, plain.iterations);
        EXPECT_EQ(own.x, plain.x);
        EXPECT_LE(own.evaluations, plain.evaluations);
        shortened += own.evaluations < plain.evaluations;
      }
    }
  }
  EXPECT_GT(shortened, 10);
}

TEST(SimplexDriver, RefusesAStartWithoutAValue) {
  const auto end = endOf({NAN}, 3, [](auto... a) { return internal::descend(a..., 100); });
  EXPECT_EQ(end.iterations, 0);
  EXPECT_EQ(end.evaluations, 1);
}

int g_errors = 0;
void countError(const char*, const char*, int, int) { ++g_errors; }

TEST(SimplexDriver, GivesTheHandlerBackWithTheLastGuard) {
  gsl_error_handler_t* const before = gsl_set_error_handler(countError);
  {
    const internal::GslErrorsOff outer;
    { const internal::GslErrorsOff inner; }
    gsl_error("", __FILE__, __LINE__, GSL_EFAILED);
  }
  EXPECT_EQ(g_errors, 0);
  EXPECT_EQ(gsl_set_error_handler(before), &countError);
}

}  // namespace
}  // namespace zelmo::test
