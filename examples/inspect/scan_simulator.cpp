// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <charconv>
#include <cmath>
#include <random>

#include <BRepAdaptor_Surface.hxx>
#include <BRep_Tool.hxx>
#include <Poly_Triangulation.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Face.hxx>

#include "failure.h"
#include "outward.h"
#include "scan.h"
#include "triangles.h"

namespace inspect {
namespace {

constexpr double kNearOutlier = 0.3;  // mm: an outlier that a search still picks
constexpr double kFarOutlier = 5.0;   // mm

/// Random numbers that are the same with every standard library.
class Dice {
 public:
  explicit Dice(unsigned seed) : m_engine(seed) {}
  /// Evenly spread over the open interval from 0 to 1.
  double uniform() { return (static_cast<double>(m_engine()) + 0.5) / 4294967296.0; }
  double between(double low, double high) { return low + (high - low) * uniform(); }
  /// Standard normal, as the sum of twelve uniform numbers: no logarithm whose last digit depends on
  /// the machine.
  double normal() {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) sum += uniform();
    return sum;
  }

 private:
  std::mt19937 m_engine;
};

struct MeshedFace {
  BRepAdaptor_Surface surface;
  Handle(Poly_Triangulation) mesh;
  double side = 1.0;  // +1 where the surface's own normal points out of the material
  int number = 0;     // in the model
};

struct Patch {
  std::size_t face;
  int triangle;
  double area_up_to_here;
};

struct Surface {
  std::vector<MeshedFace> faces;
  std::vector<Patch> patches;
};

double areaOf(const gp_Pnt& a, const gp_Pnt& b, const gp_Pnt& c) {
  return 0.5 * gp_Vec(a, b).Crossed(gp_Vec(a, c)).Magnitude();
}

Surface meshOf(const TopoDS_Shape& model) {
  triangulate(model);
  const double sign = signOfSolid(model);
  Surface surface;
  double area = 0.0;
  int number = -1;
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) {
    ++number;
    const TopoDS_Face& face = TopoDS::Face(walk.Current());
    TopLoc_Location location;
    const Handle(Poly_Triangulation) mesh = BRep_Tool::Triangulation(face, location);
    if (mesh.IsNull() || !mesh->HasUVNodes()) continue;
    surface.faces.push_back({BRepAdaptor_Surface(face), mesh, sign * sideOf(face), number});
    for (int i = 1; i <= mesh->NbTriangles(); ++i) {
      int a = 0, b = 0, c = 0;
      mesh->Triangle(i).Get(a, b, c);
      area += areaOf(mesh->Node(a), mesh->Node(b), mesh->Node(c));
      surface.patches.push_back({surface.faces.size() - 1, i, area});
    }
  }
  if (!(area > 0.0)) throw Failure(kBadModel, "no scan can be simulated: no face could be meshed");
  return surface;
}

/// A point of the true surface over a random place of the triangle, with the outward normal.
/// \return false where the surface has no normal
bool draw(const MeshedFace& face, int triangle, Dice& dice, gp_Pnt& point, gp_Vec& normal) {
  int a = 0, b = 0, c = 0;
  face.mesh->Triangle(triangle).Get(a, b, c);
  const double root = std::sqrt(dice.uniform()), along = dice.uniform();
  const double wa = 1.0 - root, wb = root * (1.0 - along), wc = root * along;
  const gp_XY place = face.mesh->UVNode(a).XY() * wa + face.mesh->UVNode(b).XY() * wb +
                      face.mesh->UVNode(c).XY() * wc;
  gp_Vec du, dv;
  face.surface.D1(place.X(), place.Y(), point, du, dv);
  normal = du.Crossed(dv);
  const double length = normal.Magnitude();
  if (!(length > 1e-12)) return false;
  const double scale = face.side / length;
  // Adding 0 turns a negative zero into a plain one.
  normal.SetCoord(normal.X() * scale + 0.0, normal.Y() * scale + 0.0, normal.Z() * scale + 0.0);
  return true;
}

/// \return whether the point became an outlier
bool disturb(const SimulationSettings& settings, const gp_Vec& normal, Dice& dice, gp_Pnt& point) {
  const gp_Vec noise(dice.normal(), dice.normal(), dice.normal());
  point.Translate(noise * settings.noise);
  if (dice.uniform() >= settings.outlier_share) return false;
  const double reach = dice.uniform() < 0.5 ? kNearOutlier : kFarOutlier;
  point.Translate(normal * dice.between(-reach, reach));
  return true;
}

void append(std::string& text, double value, char after) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, static_cast<float>(value)).ptr;
  text.append(digits, end);
  text.push_back(after);
}

}  // namespace

std::string simulateScan(const TopoDS_Shape& model, const SimulationSettings& settings,
                         std::vector<TruePoint>* truth) {
  constexpr std::size_t kBytesPerPoint = 64;
  const Surface surface = meshOf(model);
  const double area = surface.patches.back().area_up_to_here;
  Dice dice(settings.seed);
  std::string text = "# simulated scan: x y z nx ny nz\n";
  text.reserve(kBytesPerPoint * static_cast<std::size_t>(settings.points));
  for (int i = 0; i < settings.points; ++i) {
    const double where = area * dice.uniform();
    auto patch = std::lower_bound(
        surface.patches.begin(), surface.patches.end(), where,
        [](const Patch& candidate, double value) { return candidate.area_up_to_here < value; });
    if (patch == surface.patches.end()) --patch;
    gp_Pnt point;
    gp_Vec normal;
    if (!draw(surface.faces[patch->face], patch->triangle, dice, point, normal)) continue;
    const cv::Vec3d place(point.X(), point.Y(), point.Z());
    const bool outlier = disturb(settings, normal, dice, point);
    if (truth != nullptr) {
      truth->push_back({place, surface.faces[patch->face].number, outlier});
    }
    for (double value : {point.X(), point.Y(), point.Z(), normal.X(), normal.Y()}) {
      append(text, value, ' ');
    }
    append(text, normal.Z(), '\n');
  }
  return text;
}

}  // namespace inspect
