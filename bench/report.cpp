// From the benchmark's JSON to the measured part of the document and to the pictures' data.

#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

/// Largest allowed ratio to a reference, for one operation on panels with at most `points` points.
struct Goal {
  const char* operation;
  const char* reference;
  double ratio;
  int points;
};

constexpr Goal kGoals[] = {
    {"level to nits, tables", "mandated", 1.3, 512},
    {"nits to level, tables", "mandated", 1.3, 512},
    {"level to nits, maps", "mandated", 1.5, 512},
    {"level to nits, maps", "peer", 1.0, 512},
    {"nits to level, maps", "bare, locked", 1.3, 512},
    {"dense table", "bare", 0.9, 512},
    {"Init", "bare", 1.12, 512},
    {"LUT update", "bare", 1.1, 32},
    {"LUT update", "peer", 1.2, 512},
};

constexpr const char* kReferences[] = {"bare", "bare, locked", "mandated", "peer"};

struct Key {
  std::string operation;
  std::string variant;
  int points;
  int levels;
  int threads;
  bool operator<(const Key& other) const {
    return std::tie(operation, variant, points, levels, threads) <
           std::tie(other.operation, other.variant, other.points, other.levels, other.threads);
  }
};

struct Time {
  double cpu;               ///< Median, in nanoseconds.
  double calls_per_second;  ///< Median; 0 where nothing counts them.
};

using Times = std::map<Key, Time>;

std::vector<std::string> PartsOf(const std::string& name) {
  std::vector<std::string> parts;
  std::istringstream stream(name);
  for (std::string part; std::getline(stream, part, '/');) {
    parts.push_back(part);
  }
  return parts;
}

Times ReadTimes(const nlohmann::json& results) {
  Times times;
  for (const auto& each : results["benchmarks"]) {
    if (each.value("aggregate_name", "") == "median") {
      const auto parts = PartsOf(each["run_name"]);
      const Key key = {parts.at(0), parts.at(1), std::stoi(parts.at(2)), std::stoi(parts.at(3)), each["threads"]};
      times[key] = {each["cpu_time"], each.value("items_per_second", 0.0)};
    }
  }
  return times;
}

std::vector<std::string> OperationsOf(const Times& times) {
  std::vector<std::string> operations;
  for (const Goal& goal : kGoals) {
    if (operations.empty() || operations.back() != goal.operation) {
      operations.emplace_back(goal.operation);
    }
  }
  for (const std::string& operation : operations) {
    if (times.count({operation, "library", 32, 255, 1}) == 0) {
      throw std::runtime_error("nothing was measured of " + operation);
    }
  }
  return operations;
}

std::string Fixed(double number, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, number);
  return text;
}

/// How many times as long as the reference the library takes; 0 where there is no such reference.
double RatioOf(const Times& times, Key key, const char* reference) {
  const double library = times.at(key).cpu;
  key.variant = reference;
  const auto found = times.find(key);
  return found != times.end() ? library / found->second.cpu : 0.0;
}

std::string GoalsOf(const Times& times, const Key& key) {
  std::string text;
  for (const Goal& goal : kGoals) {
    const double ratio = RatioOf(times, key, goal.reference);
    if (goal.operation == key.operation && key.points <= goal.points && ratio > 0.0) {
      text += (text.empty() ? "" : ", ") + std::string(goal.reference) + " × " + Fixed(goal.ratio, 2) +
              (ratio <= goal.ratio ? " reached" : " **missed**");
    }
  }
  return text;
}

void WriteRatios(const Times& times, std::ostream& out) {
  out << "| operation | points | client levels | library, ns | ÷ bare | ÷ bare, locked | ÷ mandated | ÷ peer | goal |\n"
      << "| --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: | --- |\n";
  for (const std::string& operation : OperationsOf(times)) {
    for (const int points : {32, 512}) {
      for (const int levels : {255, 4095}) {
        const Key key = {operation, "library", points, levels, 1};
        out << "| " << operation << " | " << points << " | " << levels << " | " << Fixed(times.at(key).cpu, 0);
        for (const char* const reference : kReferences) {
          const double ratio = RatioOf(times, key, reference);
          out << " | " << (ratio > 0.0 ? Fixed(ratio, 2) : "");
        }
        out << " | " << GoalsOf(times, key) << " |\n";
      }
    }
  }
}

void WriteThreads(const Times& times, std::ostream& out) {
  out << "| threads | calls on one engine, beside one thread | calls on an engine each, beside one thread |\n"
      << "| ---: | ---: | ---: |\n";
  const auto share = [&](const char* variant, int threads) {
    const auto rate = [&](int count) { return times.at({"threads", variant, 32, 255, count}).calls_per_second; };
    return Fixed(rate(threads) / rate(1), 2);
  };
  for (const int threads : {1, 2, 4}) {
    out << "| " << threads << " | " << share("one engine", threads) << " | " << share("an engine each", threads)
        << " |\n";
  }
}

/// gnuplot's blocks, one for each operation: the number that grows, and nanoseconds.
void WriteGrowth(const Times& times, const char* variant, int Key::*what, const std::string& file) {
  std::ofstream out(file);
  for (const std::string& operation : OperationsOf(times)) {
    out << '"' << operation << "\"\n";
    for (const auto& [key, time] : times) {
      if (key.operation == operation && key.variant == variant) {
        out << key.*what << " " << time.cpu << "\n";
      }
    }
    out << "\n\n";
  }
}

/// Puts `text` between the document's two marks.
void Replace(const std::string& file, const std::string& text) {
  const std::string begin = "<!-- measured: begin -->\n";
  const std::string end = "<!-- measured: end -->";
  std::stringstream document;
  document << std::ifstream(file).rdbuf();
  std::string all = document.str();
  const size_t from = all.find(begin);
  const size_t to = all.find(end);
  if (from == std::string::npos || to == std::string::npos) {
    throw std::runtime_error(file + ": the marks of the measured part are not there");
  }
  all.replace(from + begin.size(), to - from - begin.size(), text);
  std::ofstream(file) << all;
}

void Run(const std::string& results, const std::string& document, const std::string& data, const std::string& commit) {
  std::ifstream stream(results);
  const auto json = nlohmann::json::parse(stream);
  const Times times = ReadTimes(json);
  std::string processor;
  std::ifstream cpus("/proc/cpuinfo");
  for (std::string line; processor.empty() && std::getline(cpus, line);) {
    processor = line.rfind("model name", 0) == 0 ? line.substr(line.find(':') + 2) : "";
  }
  std::ostringstream text;
  text << "Measured at commit " << commit << " on " << json["context"]["num_cpus"] << " × " << processor << ", GCC "
       << __VERSION__ << ", release build; medians.\n\n";
  WriteRatios(times, text);
  text << "\n";
  WriteThreads(times, text);
  Replace(document, text.str());
  WriteGrowth(times, "points grow", &Key::points, data + "/points.dat");
  WriteGrowth(times, "levels grow", &Key::levels, data + "/levels.dat");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: bench_report RESULTS.json DOCUMENT.md DATA_FOLDER COMMIT\n";
    return 2;
  }
  try {
    Run(argv[1], argv[2], argv[3], argv[4]);
  } catch (const std::exception& error) {
    std::cerr << "bench_report: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
