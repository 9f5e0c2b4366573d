// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "options.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "failure.h"

namespace inspect {
namespace {

constexpr int kMostPoints = 20000000;

[[noreturn]] void refuse(const std::string& message) {
  throw Failure(kBadUsage, message + "\nTry 'inspect --help'.");
}

double numberIn(std::string_view option, std::string_view text, double smallest, double largest) {
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !(value >= smallest) ||
      !(value <= largest)) {
    refuse("the value of " + std::string(option) + " is no number in its range: '" +
           std::string(text) + "'");
  }
  return value;
}

/// Walks the arguments; an option's value is the next argument or follows an equals sign.
class Arguments {
 public:
  Arguments(int argc, const char* const* argv) : m_argc(argc), m_argv(argv) {}

  bool next() {
    m_value = {};
    m_has_value = false;
    if (++m_at >= m_argc) return false;
    m_word = m_argv[m_at];
    const std::size_t equals = m_word.find('=');
    if (m_word.substr(0, 2) == "--" && equals != std::string_view::npos) {
      m_value = m_word.substr(equals + 1);
      m_word = m_word.substr(0, equals);
      m_has_value = true;
    }
    return true;
  }
  std::string_view word() const { return m_word; }
  std::string_view value() {
    if (!m_has_value) {
      if (m_at + 1 >= m_argc) refuse("the value of " + std::string(m_word) + " is missing");
      m_value = m_argv[++m_at];
      m_has_value = true;
    }
    return m_value;
  }
  bool hasValue() const { return m_has_value; }

 private:
  int m_argc;
  const char* const* m_argv;
  int m_at = 0;
  std::string_view m_word, m_value;
  bool m_has_value = false;
};

struct Parsed {
  Options options;
  bool list = false;
  bool tube = false;
  bool simulate = false;
};

/// \return false where the word is no option that takes a value
bool readValueOption(Arguments& arguments, Options& options) {
  const std::string_view word = arguments.word();
  if (word == "-o" || word == "--output") {
    options.output = arguments.value();
    if (options.output.empty()) refuse("the output folder has no name");
  } else if (word == "--band") {
    options.band = numberIn(word, arguments.value(), 1e-6, 1e6);
  } else if (word == "--angle") {
    options.angle = numberIn(word, arguments.value(), 0.0, 60.0);
  } else if (word == "--sigma") {
    options.sigma = numberIn(word, arguments.value(), 0.1, 100.0);
  } else if (word == "--tolerance") {
    options.tolerance = numberIn(word, arguments.value(), 0.0, 1e3);
  } else if (word == "--probe") {
    options.probe = numberIn(word, arguments.value(), 1e-3, 1e3);
  } else if (word == "--points") {
    options.points = static_cast<int>(numberIn(word, arguments.value(), 1.0, kMostPoints));
  } else if (word == "--align") {
    options.align = true;
    if (arguments.hasValue()) options.rps = arguments.value();
    if (arguments.hasValue() && options.rps.empty()) refuse("--align= needs a file");
  } else if (word == "--section") {
    options.section = arguments.value();
    if (options.section.empty()) refuse("--section needs a plane a,b,c,d");
  } else if (word == "--date") {
    options.date = arguments.value();
  } else if (word == "--noise") {
    options.noise = numberIn(word, arguments.value(), 0.0, 1e3);
  } else {
    return false;
  }
  return true;
}

/// \return false where the word is no option without a value
bool readFlag(const Arguments& arguments, Parsed& parsed) {
  const std::string_view word = arguments.word();
  if (word == "-h" || word == "--help") {
    parsed.options.task = Options::Task::Help;
  } else if (word == "--version") {
    parsed.options.task = Options::Task::Version;
  } else if (word == "--families") {
    parsed.options.families = true;
  } else if (word == "--narrow") {
    parsed.options.narrow = true;
  } else if (word == "--verbose") {
    parsed.options.verbose = true;
  } else if (word == "--list") {
    parsed.list = true;
  } else if (word == "--tube") {
    parsed.tube = true;
  } else if (word == "--simulate") {
    parsed.simulate = true;
  } else {
    return false;
  }
  if (arguments.hasValue()) refuse(std::string(word) + " takes no value");
  return true;
}

/// \return whether it is something else than a measurement of a part
bool chooseOtherTask(Parsed& parsed) {
  Options& options = parsed.options;
  const bool section = !options.section.empty();
  if (!parsed.tube && !section) return false;
  if (parsed.list || parsed.simulate || options.align || options.probe > 0.0 ||
      (parsed.tube && section)) {
    refuse("--list, --simulate, --align, --probe, --section and --tube exclude one another");
  }
  if (parsed.tube && !options.model.empty())
    refuse("--tube makes its tube itself, and takes no file");
  if (section && !options.scan.empty()) refuse("--section takes one file: a mesh or a model");
  options.task = section ? Options::Task::Section : Options::Task::Tube;
  return true;
}

void chooseTask(Parsed& parsed) {
  Options& options = parsed.options;
  if (chooseOtherTask(parsed)) return;
  if (parsed.list) {
    if (options.model.empty()) refuse("--list needs a model");
    if (!options.scan.empty() || parsed.simulate || options.align || options.probe > 0.0)
      refuse("--list takes a model and nothing else");
    options.task = Options::Task::List;
  } else if (options.probe > 0.0 && (parsed.simulate || options.align || !options.scan.empty())) {
    refuse("--probe touches the model and takes no scan");
  } else if (options.model.empty()) {
    options.task = Options::Task::MeasureMadePart;
  } else if (options.probe > 0.0) {
    options.task = Options::Task::MeasureSimulatedScan;
  } else if (parsed.simulate) {
    if (!options.scan.empty()) refuse("a scan and --simulate exclude each other");
    options.task = Options::Task::MeasureSimulatedScan;
  } else {
    if (options.scan.empty()) {
      refuse("a model without a scan: name the scan, or let one be simulated with --simulate");
    }
    options.task = Options::Task::MeasureScan;
  }
}

}  // namespace

Options parseOptions(int argc, const char* const* argv) {
  Parsed parsed;
  Options& options = parsed.options;
  bool only_names = false;
  for (Arguments arguments(argc, argv); arguments.next();) {
    const std::string_view word = arguments.word();
    if (!only_names && word == "--") {
      only_names = true;
    } else if (!only_names && word.size() > 1 && word.front() == '-') {
      if (readFlag(arguments, parsed)) {
        if (options.task != Options::Task::MeasureMadePart) return options;
      } else if (!readValueOption(arguments, options)) {
        refuse("unknown option " + std::string(word));
      }
    } else if (word.empty()) {
      refuse("a file without a name");
    } else if (options.model.empty()) {
      options.model = word;
    } else if (options.scan.empty()) {
      options.scan = word;
    } else if (options.align && options.rps.empty()) {
      options.rps = word;
    } else {
      refuse("more files than a model and a scan: '" + std::string(word) + "'");
    }
  }
  chooseTask(parsed);
  return options;
}

namespace {

constexpr char kHelp[] = R"(inspect - measures a scanned part against its CAD model with LibZelmo

  inspect                          measure a part that the program makes itself
  inspect MODEL SCAN [-o OUT]      measure your part
  inspect MODEL --simulate         measure a scan that is simulated from your model
  inspect MODEL SCAN --align [RPS] move the scan onto the model first; also without files
  inspect --list MODEL             list what the model contains, measure nothing
  inspect --section A,B,C,D [FILE] cut a mesh with a plane
  inspect --tube                   trace the centre line of a bent tube that the program makes

MODEL  a STEP or IGES file; its content decides which, its extension helps.
SCAN   a text file, one point per line: x y z nx ny nz. The normal points out of the material.
       Blanks, tabs, commas or semicolons between the numbers, a point as decimal mark,
       comments from '#' to the end of the line. Model and scan lie in one frame, in mm.

Every plane, sphere, cylinder and cone of the model is a feature; faces of one geometry with the
same outer side are taken together. A feature's points are picked out of the scan and the feature
is fitted to them; points outside the sigma band are dropped and it is fitted again, until none is
outside.

With --align the scan is moved onto the model by RPS points. RPS is a text file, one point per line:
a name, nominal x y z, measured x y z, and the axes that count, in capitals those that locate, as
xyz or Z. A point without measured numbers is looked up in the scan, within 10 mm of where the others
have brought it. Without a file such points are picked on the model's flat faces, and the scan has to
lie within some millimetres of the model. Without a scan of yours the simulated one is displaced by a
known motion first, and the recovered one is compared with it.

The section is that of the plane A x + B y + C z + D = 0 through an STL or OFF mesh, a model's
mesh, or the made part's where no FILE is named: --section 0,0,1,-20 cuts at z = 20.

  -o, --output OUT   folder for the results (default: out)
  --band MM          pick points up to MM off the nominal surface (default: 0.5)
  --angle DEG        pick points whose normal is within DEG of the nominal one (default: 15)
  --sigma K          keep points within mean plus or minus K standard deviations (default: 3)
  --tolerance MM     limit of form, orientation and location, and of distances and diameters to
                     either side (default: 0.1); angles may be off by 0.1 degrees
  --probe RADIUS     touch the model with a tip of that radius instead, MODEL or the made part
  --narrow           leave out points that lie over none of the feature's own triangles
  --points N         number of points of a simulated scan (default: 400000)
  --noise MM         standard deviation of a simulated scan (default: 0.01)
  --families         fit spheres, cylinders, cones and circles by the simplex as well, and compare
  --date TEXT        date that the report shows; without it the report names none
  --verbose          show what the library and the CAD kernel print instead of logging it
  --version          print the version
  -h, --help         print this text

Columns of the table
  nominal, measured  plane: outward unit normal, signed distance from the origin (the measured one
                     at the centre of the nominal face); sphere: centre, radius; cylinder: axis,
                     radius; cone: axis from its wide end to its apex, half angle in degrees
  distance           mm; plane: how far the measured one stands out at the centre of the nominal
                     face; sphere: between the centres; cylinder and cone: of the measured axis
                     from the middle of the nominal one
  angle              between the normals or axes, in degrees
  picked             points that the search found for the feature
  used               points that are left in the sigma band of the fitted feature
  flatness, sphericity, cylindricity, conicity
                     mm; largest minus smallest deviation of the points used

Outlines
  Circles at the ends of full cylinders, slots, rectangles and rounded rectangles are measured by
  the surface around the edge, which gives the plane, and the wall from 0.5 to 5.5 mm below it,
  which gives the outline in the plane: circles by the damped fit, the others by the simplex.
  size is length x width over all; turn is the angle of the long sides.

What was found, where the scan is simulated
  recall is the share of a kind's true points that the searches found, precision the share of
  true points among the found; then the same for the points that were used in the end. An outlier
  is never a true point, however near it lies.

Families (--families)
  The points used, at most 4000 of a feature, fitted by damped least squares and by the simplex
  for least squares, least absolute deviations and the minimum zone. distance and angle are from
  the nominal feature; deviation is the root of the mean square, spread largest minus smallest.
  A descent that ends in another minimum is marked.

Touches (--probe)
  25 places of each feature are touched by a simulated tip, with the noise of --noise; the guided
  fits take the centres of the tip and compensate its radius. Circles across full cylinders, the
  ends of slots and single points, compensated by the nearest triangle, are touched as well; of
  25 single points those are counted whose nearest triangle is one of the face that was touched.
  Cones and arcs of much less than half a turn are left out.
  worst is the largest distance of a compensated point from the nominal feature.

Tolerances
  The program's own part is held against a plan of its own. For any other model the plan follows
  from the features: the form of each, diameters, parallelism, distance and angle of the planes
  towards the three largest ones that are square to each other, perpendicularity of cylinders to
  them, coaxiality of cylinders on one axis. Values are those of the library: the band of the
  points about the fitted feature, or about one that has the datum's direction; an axis is taken
  by the centres of up to eight sections. Concentricity is the difference of the reaches, coaxiality and
  position twice the largest distance. Being out of tolerance does not change the exit status.

Results in OUT
  report.html        the whole inspection as one page that needs nothing else: summary, the part by
                     verdict, every feature with its deviations drawn, every requirement
  report.json        the same numbers with all their digits, for programs
  report.csv         likewise, one line per number of a feature and per requirement
  features.csv       every nominal feature and outline and its measured twin, 47 columns
  results.csv        the numbers of the table with all their digits
  tolerances.csv     every requirement: nominal, tolerance, measured, deviation, in or out
  outlines.csv       every outline: nominal, measured, differences, points
  families.csv       the table of the families, with --families
  measured.step, measured.igs
                     the measured features and outlines, read back and found whole
  probe.csv, touches.csv
                     with --probe, alone: the table and every touch, compensated
  deviations.csv     every picked point: its line or number in the scan, its deviation from the
                     fitted feature, and whether it was used; the last column of the table can
                     be recomputed from it
  library.log        what the library and the CAD kernel printed
  part.step          the model, where the program made it
  scan.xyz           the scan, where the program simulated it
  features.svg       the part with the measured features, coloured by their kind
  deviations.svg     the same, coloured by how far their points stand out of the model
  alignment.txt      how the scan was moved, and what is left at each RPS point
  rps.txt            the RPS points, where the program displaced the scan
  section.txt, section.svg   the segments of a section, loop by loop, and a drawing of them
  centerline.csv, tube.svg   the traced centre line of the tube, with its distance from the true one
The files appear together at the end, or none does.

Exit status
  0 done       1 nothing could be measured or cut  2 bad command line   3 bad model
  4 bad scan   5 output can't be written        6 unexpected failure     130 interrupted
)";

}  // namespace

const char* helpText() { return kHelp; }

}  // namespace inspect
