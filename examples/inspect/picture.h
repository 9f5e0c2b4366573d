// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>

#include "deviation_scale.h"
#include "feature_lines.h"
#include "judgement.h"
#include "measure.h"
#include "output_folder.h"
#include "scan.h"
#include "surface_mesh.h"
#include "svg.h"
#include "view.h"

namespace inspect {

/// Paints what is seen of a mesh, lit from above.
/// \param colours one per face of the model
/// \param contrast how much darker a face is that is turned away from the light
void paintFaces(Svg& svg, const View& view, const SurfaceMesh& mesh,
                const std::vector<Colour>& colours, double contrast);

/// The part with its measured features, seen from above one corner.
class PartPictures {
 public:
  PartPictures(const TopoDS_Shape& model, const std::vector<Measurement>& measurements,
               const Scan& scan);
  PartPictures(const PartPictures&) = delete;
  PartPictures& operator=(const PartPictures&) = delete;

  Svg byKind() const;
  /// By how far their points stand out of the nominal surface.
  Svg byDeviation() const;
  /// \param verdicts one per measurement
  Svg byVerdict(const std::vector<Judgement>& verdicts) const;

  /// Writes features.svg, by kind, and deviations.svg.
  void writeTo(const OutputFolder& folder) const;

  struct Scene {
    const std::vector<Measurement>& measurements;
    const SurfaceMesh& mesh;
    const View& view;
    std::vector<const Measurement*> of_face;  ///< per face of the model its feature, or null
  };

 private:
  Svg draw(const std::string& title, const std::string& note,
           const std::function<Colour(const Measurement*)>& colour,
           const std::function<std::string(const Measurement&)>& value, double contrast,
           const std::function<void(Svg&)>& key) const;

  SurfaceMesh m_mesh;
  cv::Rect2d m_sheet;
  View m_view;
  Scene m_scene;
  std::vector<Line3> m_edges, m_round;
  std::vector<double> m_out;  ///< mm: how far each feature stands out
};

}  // namespace inspect
