// Prints the bars of regulation with the results of each model, the worst of the seeds, as the
// table in docs/control.md. Exit code 1 if a bar is missed by more than the law's known misses.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "tests/loops/bars/known_misses.h"
#include "tests/loops/bars/runner.h"

namespace {

constexpr const char* usage = R"(lumora_bars [--seeds N] [--jobs N] [--model MODEL] [NAME...]
Measures the regulation on the simulated plant; names are those of bars, all without one.
)";

struct options {
  unsigned seeds = 3;
  unsigned jobs = std::max(1u, std::thread::hardware_concurrency());
  std::string model;
  std::set<std::string> names;
};

std::optional<options> parse(int argc, char** argv) {
  options result;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const bool has_value = i + 1 < argc;
    if (word == "--seeds" && has_value) {
      result.seeds = static_cast<unsigned>(std::atoi(argv[++i]));
    } else if (word == "--jobs" && has_value) {
      result.jobs = static_cast<unsigned>(std::atoi(argv[++i]));
    } else if (word == "--model" && has_value) {
      result.model = argv[++i];
    } else if (word.starts_with("-")) {
      return std::nullopt;
    } else {
      result.names.insert(word);
    }
  }
  if (result.seeds == 0 || result.jobs == 0) return std::nullopt;
  return result;
}

std::vector<bars::bar> all_bars() {
  std::vector<bars::bar> all;
  for (const auto& group : {bars::client_bars(), bars::rest_bars(), bars::line_bars(),
                            bars::truth_bars(), bars::phase_bars(), bars::peer_bars(),
                            bars::switch_bars(), bars::nonsense_bars(), bars::late_bars()}) {
    all.insert(all.end(), group.begin(), group.end());
  }
  return all;
}

std::vector<bars::job> jobs_of(const std::vector<bars::bar>& all, const options& wanted) {
  std::vector<bars::job> jobs;
  for (const auto& bar : all) {
    if (!wanted.names.empty() && !wanted.names.contains(bar.name)) continue;
    for (const auto& model : bar.models) {
      if (!wanted.model.empty() && model != wanted.model) continue;
      for (unsigned seed = 1; seed <= wanted.seeds; ++seed)
        jobs.push_back({&bar, model, seed, {}});
    }
  }
  return jobs;
}

/// The worst of the seeds; empty if one of them failed or the model has no such part.
std::optional<double> worst(const std::vector<bars::job>& jobs, const bars::bar& bar,
                            const std::string& model, std::size_t column) {
  std::optional<double> result;
  for (const auto& job : jobs) {
    if (job.of != &bar || job.model != model) continue;
    if (!job.found) return std::nullopt;
    result = std::max(result.value_or(job.found->at(column)), job.found->at(column));
  }
  return result;
}

std::string shown(double figure) {
  if (figure >= bars::never) return "never";
  return fmt::format("{:.4g}", std::round(figure * 100.0) / 100.0 + 0.0);
}

bool was_run(const std::vector<bars::job>& jobs, const bars::bar& bar, const std::string& model) {
  return std::any_of(jobs.begin(), jobs.end(),
                     [&](const bars::job& job) { return job.of == &bar && job.model == model; });
}

struct verdict {
  unsigned missed = 0;
  unsigned known = 0;
};

std::string cell(const std::vector<bars::job>& jobs, const bars::bar& bar, const std::string& model,
                 std::size_t column, verdict& sum) {
  if (!was_run(jobs, bar, model)) return "-";
  const auto found = worst(jobs, bar, model, column);
  if (!found) {
    ++sum.missed;
    return "**failed**";
  }
  // Figures of float arithmetic, printed with two digits.
  constexpr double rounding = 0.005;
  const auto& limit = bar.limits[column];
  if (*found <= limit.at_most + rounding) return shown(*found);
  const bool is_known =
      *found <= bars::limit_for(bar.name, limit.what, model, limit.at_most) + rounding;
  ++(is_known ? sum.known : sum.missed);
  return is_known ? fmt::format("*{}*", shown(*found)) : fmt::format("**{}**", shown(*found));
}

verdict print_table(const std::vector<bars::bar>& all, const std::vector<bars::job>& jobs) {
  verdict sum;
  fmt::print("| Bar | Figure | At most |");
  for (const auto& model : bars::all_models)
    fmt::print(" {} |", model);
  fmt::print("\n|---|---|---|---|---|---|---|---|---|\n");
  for (const auto& bar : all) {
    if (std::none_of(jobs.begin(), jobs.end(), [&](const auto& job) { return job.of == &bar; }))
      continue;
    for (std::size_t column = 0; column < bar.limits.size(); ++column) {
      const auto& limit = bar.limits[column];
      fmt::print("| {} | {} | {} |", column == 0 ? bar.name : "", limit.what,
                 limit.at_most == bars::any ? "" : shown(limit.at_most));
      for (const auto& model : bars::all_models)
        fmt::print(" {} |", cell(jobs, bar, model, column, sum));
      fmt::print("\n");
    }
  }
  return sum;
}

void print_progress(const bars::job& job) {
  static unsigned count = 0;
  std::string found = "failed";
  if (job.found) {
    found.clear();
    for (std::size_t i = 0; i < job.found->size(); ++i)
      found += fmt::format(" {} {}", shown((*job.found)[i]), job.of->limits[i].what);
  }
  fmt::print("{:3} {} {} seed {} ({:.0f} s): {}\n", ++count, job.of->name, job.model, job.seed,
             job.seconds, found);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const auto wanted = parse(argc, argv);
  if (!wanted) {
    fmt::print(stderr, "{}", usage);
    return 2;
  }
  const auto all = all_bars();
  auto jobs = jobs_of(all, *wanted);
  if (jobs.empty()) {
    fmt::print(stderr, "no such bar or model\n");
    return 2;
  }
  fmt::print("{} measurements\n", jobs.size());
  bars::run_all(jobs, wanted->jobs, print_progress);
  fmt::print("\n");
  const auto sum = print_table(all, jobs);
  fmt::print("\n{} missed, {} where the law does not reach\n", sum.missed, sum.known);
  return sum.missed == 0 ? 0 : 1;
}
