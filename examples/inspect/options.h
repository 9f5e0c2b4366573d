// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace inspect {

/// What the user asked for.
struct Options {
  enum class Task {
    MeasureMadePart,
    MeasureScan,
    MeasureSimulatedScan,
    List,
    Section,
    Tube,
    Help,
    Version
  };

  Task task = Task::MeasureMadePart;
  std::string model;
  std::string scan;
  std::string output = "out";
  double band = 0.5;    ///< mm: half width of the layer of points that is searched
  double angle = 15.0;  ///< degrees: largest angle of a point's normal to the nominal one
  double sigma = 3.0;   ///< multiples of the standard deviation: half width of the kept band
  double tolerance =
      0.1;  ///< mm: what form, orientation and location may be off, and sizes either way
  int points = 400000;    ///< of a simulated scan
  double noise = 0.01;    ///< mm: standard deviation of a simulated scan
  bool families = false;  ///< whether the families of fits are compared
  bool narrow = false;    ///< whether points that lie over no triangle of the feature are left out
  double probe = 0.0;     ///< mm: radius of the tip that touches the model; 0 for a scan
  std::string section;    ///< a,b,c,d of the plane to cut with
  bool align = false;     ///< move the scan onto the model before it is measured
  std::string rps;        ///< file of RPS points; empty where they are to be picked
  std::string date;       ///< what the report says of its date; empty for none
  bool verbose = false;
};

/// Reads the command line. Throws Failure with kBadUsage where it makes no sense.
Options parseOptions(int argc, const char* const* argv);

/// What --help prints.
const char* helpText();

}  // namespace inspect
