// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
/* Residual functions of the stored solver calls.
 * C99 and C++ compatible, header only.
 * To reproduce the vectors bit for bit compile WITHOUT fused multiply-add
 * contraction and without -ffast-math (x86-64 baseline, or -ffp-contract=off).
 * Every expression is evaluated strictly left to right as written. */
#ifndef LMV_RESIDUALS_H
#define LMV_RESIDUALS_H
#include <stddef.h>

#include <math.h>
#include <string.h>

#define LMV_TRACE_MAX 80
#define LMV_MAX_M 16

typedef struct {
  const double* pts; /* npts rows of dim doubles */
  int npts, dim;
  /* bookkeeping */
  long calls;
  /* fault injection: calls in [fault_first, fault_last] (1-based) are altered */
  long fault_first, fault_last;
  double fault_value; /* value stored (NaN, Inf, 1e200, ...) */
  int fault_entries;  /* how many leading entries of hx are overwritten; -1 = all */
  /* trace of the p vectors passed in */
  int ntrace;
  double trace_p[LMV_TRACE_MAX][LMV_MAX_M];
  double trace_h0[LMV_TRACE_MAX]; /* hx[0] of that call */
} lmv_data;

typedef void (*lmv_func)(double* p, double* hx, int m, int n, void* adata);

/* p = a b c d */
static void lmv_plane(double* p, double* hx, int m, int n, void* ad) {
  const lmv_data* D = (const lmv_data*)ad;
  int i;
  (void)m;
  double L = sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  for (i = 0; i < n; ++i) {
    const double* q = D->pts + 3 * (size_t)i;
    hx[i] = (p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3]) / L;
  }
}
/* p = cx cy cz r   (m may be 5: the 5th parameter has no influence) */
static void lmv_sphere(double* p, double* hx, int m, int n, void* ad) {
  const lmv_data* D = (const lmv_data*)ad;
  int i;
  (void)m;
  for (i = 0; i < n; ++i) {
    const double* q = D->pts + 3 * (size_t)i;
    double x = q[0] - p[0], y = q[1] - p[1], z = q[2] - p[2];
    hx[i] = sqrt(x * x + y * y + z * z) - p[3];
  }
}
static void lmv_cyl_any(double* p, double* hx, int n, void* ad, int normalise) {
  const lmv_data* D = (const lmv_data*)ad;
  int i;
  double u = p[3], v = p[4], w = p[5];
  if (normalise) {
    double L = sqrt(u * u + v * v + w * w);
    u = u / L;
    v = v / L;
    w = w / L;
  }
  for (i = 0; i < n; ++i) {
    const double* q = D->pts + 3 * (size_t)i;
    double x = q[0] - p[0], y = q[1] - p[1], z = q[2] - p[2];
    double a = y * w - z * v, b = z * u - x * w, c = x * v - y * u;
    hx[i] = sqrt(a * a + b * b + c * c) - p[6];
  }
}
/* p = px py pz ax ay az r ; axis normalised inside */
static void lmv_cylinder(double* p, double* hx, int m, int n, void* ad) {
  (void)m;
  lmv_cyl_any(p, hx, n, ad, 1);
}
/* same, axis used as given */
static void lmv_cylinder_raw(double* p, double* hx, int m, int n, void* ad) {
  (void)m;
  lmv_cyl_any(p, hx, n, ad, 0);
}

static void lmv_cone_any(double* p, double* hx, int n, void* ad, int normalise) {
  const lmv_data* D = (const lmv_data*)ad;
  int i;
  double u = p[3], v = p[4], w = p[5], th = tan(p[6]);
  if (normalise) {
    double L = sqrt(u * u + v * v + w * w);
    u = u / L;
    v = v / L;
    w = w / L;
  }
  for (i = 0; i < n; ++i) {
    const double* q = D->pts + 3 * (size_t)i;
    double x = q[0] - p[0], y = q[1] - p[1], z = q[2] - p[2];
    double a = y * w - z * v, b = z * u - x * w, c = x * v - y * u;
    double t = x * u + y * v + z * w;
    hx[i] = sqrt(a * a + b * b + c * c) - fabs(t) * th;
  }
}
/* p = apex(3) axis(3) half-angle ; axis normalised inside */
static void lmv_cone(double* p, double* hx, int m, int n, void* ad) {
  (void)m;
  lmv_cone_any(p, hx, n, ad, 1);
}
static void lmv_cone_raw(double* p, double* hx, int m, int n, void* ad) {
  (void)m;
  lmv_cone_any(p, hx, n, ad, 0);
}

/* 2D circle p = cx cy r */
static void lmv_circle(double* p, double* hx, int m, int n, void* ad) {
  const lmv_data* D = (const lmv_data*)ad;
  int i;
  (void)m;
  for (i = 0; i < n; ++i) {
    const double* q = D->pts + 2 * (size_t)i;
    double x = q[0] - p[0], y = q[1] - p[1];
    hx[i] = sqrt(x * x + y * y) - p[2];
  }
}
static void lmv_rosenbrock(double* p, double* hx, int m, int n, void* ad) {
  (void)m;
  (void)n;
  (void)ad;
  hx[0] = 10.0 * (p[1] - p[0] * p[0]);
  hx[1] = 1.0 - p[0];
}
static void lmv_powell(double* p, double* hx, int m, int n, void* ad) {
  (void)m;
  (void)n;
  (void)ad;
  hx[0] = p[0] + 10.0 * p[1];
  hx[1] = sqrt(5.0) * (p[2] - p[3]);
  hx[2] = (p[1] - 2.0 * p[2]) * (p[1] - 2.0 * p[2]);
  hx[3] = sqrt(10.0) * ((p[0] - p[3]) * (p[0] - p[3]));
}
/* Meyer, original scaling: t = 50,55,...,125 */
static void lmv_meyer(double* p, double* hx, int m, int n, void* ad) {
  int i;
  (void)m;
  (void)ad;
  for (i = 0; i < n; ++i) {
    double t = 45.0 + 5.0 * (i + 1);
    hx[i] = p[0] * exp(p[1] / (t + p[2]));
  }
}
/* Meyer, reformulated: u = 0.45 + 0.05*(i+1) */
static void lmv_meyer_scaled(double* p, double* hx, int m, int n, void* ad) {
  int i;
  (void)m;
  (void)ad;
  for (i = 0; i < n; ++i) {
    double u = 0.45 + 0.05 * (i + 1);
    hx[i] = p[0] * exp(10.0 * p[1] / (u + p[2]) - 13.0);
  }
}
static void lmv_osborne1(double* p, double* hx, int m, int n, void* ad) {
  int i;
  (void)m;
  (void)ad;
  for (i = 0; i < n; ++i) {
    double t = 10.0 * i;
    hx[i] = p[0] + p[1] * exp(-p[3] * t) + p[2] * exp(-p[4] * t);
  }
}
static void lmv_osborne2(double* p, double* hx, int m, int n, void* ad) {
  int i;
  (void)m;
  (void)ad;
  for (i = 0; i < n; ++i) {
    double t = i / 10.0, a = t - p[8], b = t - p[9], c = t - p[10];
    hx[i] = p[0] * exp(-t * p[4]) + p[1] * exp(-(a * a) * p[5]) + p[2] * exp(-(b * b) * p[6]) +
            p[3] * exp(-(c * c) * p[7]);
  }
}
/* hx_i = p_(i mod m) : linear; pair with a measurement vector x */
static void lmv_identity(double* p, double* hx, int m, int n, void* ad) {
  int i;
  (void)ad;
  for (i = 0; i < n; ++i) hx[i] = p[i % m];
}
/* hx_i = i+1, independent of p */
static void lmv_constant(double* p, double* hx, int m, int n, void* ad) {
  int i;
  (void)p;
  (void)m;
  (void)ad;
  for (i = 0; i < n; ++i) hx[i] = i + 1.0;
}

typedef struct {
  const char* name;
  lmv_func f;
} lmv_entry;
static const lmv_entry lmv_table[] = {{"plane", lmv_plane},
                                      {"sphere", lmv_sphere},
                                      {"cylinder", lmv_cylinder},
                                      {"cylinder_raw", lmv_cylinder_raw},
                                      {"cone", lmv_cone},
                                      {"cone_raw", lmv_cone_raw},
                                      {"circle", lmv_circle},
                                      {"rosenbrock", lmv_rosenbrock},
                                      {"powell", lmv_powell},
                                      {"meyer", lmv_meyer},
                                      {"meyer_scaled", lmv_meyer_scaled},
                                      {"osborne1", lmv_osborne1},
                                      {"osborne2", lmv_osborne2},
                                      {"identity", lmv_identity},
                                      {"constant", lmv_constant},
                                      {NULL, NULL}};

static lmv_func lmv_find(const char* name) {
  const lmv_entry* e;
  for (e = lmv_table; e->name; ++e) {
    if (!strcmp(e->name, name)) return e->f;
  }
  return NULL;
}

/* wrapper data: residual + tracing + fault injection */
typedef struct {
  lmv_func f;
  lmv_data d;
} lmv_ctx;
static void lmv_traced(double* p, double* hx, int m, int n, void* ad) {
  lmv_ctx* c = (lmv_ctx*)ad;
  int i;
  c->f(p, hx, m, n, &c->d);
  c->d.calls++;
  if (c->d.calls >= c->d.fault_first && c->d.calls <= c->d.fault_last) {
    int k = c->d.fault_entries < 0 ? n : c->d.fault_entries;
    if (k > n) k = n;
    for (i = 0; i < k; ++i) hx[i] = c->d.fault_value;
  }
  if (c->d.ntrace < LMV_TRACE_MAX) {
    int t = c->d.ntrace++;
    for (i = 0; i < m && i < LMV_MAX_M; ++i) c->d.trace_p[t][i] = p[i];
    c->d.trace_h0[t] = hx[0];
  }
}
#endif
