// What a collector would have scraped of nodes on the simulated plant, in plant time, as a test of
// the shipped rules: promtool evaluates them over it, with all their waits, and tells which alerts
// have fired. On the thread that owns the plant's clock.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

class nx_db;

namespace test {

class alert_story {
 public:
  explicit alert_story(std::chrono::seconds interval) : interval_(interval) {}

  std::chrono::seconds interval() const { return interval_; }

  /// One scrape of each node, an interval after the last ones; null is a daemon that is gone.
  void scrape(const std::map<std::string, nx_db*>& nodes);

  /// What promtool finds against it, or nothing: `fired` has the firing alerts of the whole story,
  /// with the labels direction, loop, guard and section if there are any, and of how many subjects
  /// each was. `answering` are queries that have to return series at the end.
  std::string faults(const std::map<std::string, int>& fired,
                     const std::vector<std::string>& answering = {}) const;

 private:
  /// Its values in the words of promtool, one a scrape.
  struct series {
    std::vector<std::string> values;
  };

  void take(const std::string& line);
  std::string test_file(const std::map<std::string, int>& fired,
                        const std::vector<std::string>& answering) const;
  std::string values_text(const series& one) const;

  const std::chrono::seconds interval_;
  std::size_t scrapes_ = 0;
  std::map<std::string, series> series_;
};

}  // namespace test
