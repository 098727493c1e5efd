// Made drawings for the benchmarks: the same seed gives the same text.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>

namespace benchmarks {

/// Drawing text as a CAD program exports it: layers, lines, arcs, polylines and labels on a plan in millimetres.
class DrawingText {
 public:
  explicit DrawingText(std::uint64_t seed) : random_(seed) {}

  std::string make(std::size_t size) {
    text_ = "999\nPlan, millimetres\n  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1009\n  0\nENDSEC\n";
    text_ += "  0\nSECTION\n  2\nENTITIES\n";
    while (text_.size() < size) addEntity();
    return text_ + "  0\nENDSEC\n  0\nEOF\n";
  }

 private:
  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }
  void group(int code, const std::string& value) {
    char line[16];
    std::snprintf(line, sizeof line, "%3d\n", code);
    text_ += line + value + "\n";
  }
  void number(int code, double value) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.*f", static_cast<int>(below(5)) == 0 ? 6 : 1, value);
    group(code, digits);
  }
  void point(int code, double x, double y) {
    number(code, x);
    number(code + 10, y);
    number(code + 20, 0);
  }
  void addEntity() {
    static constexpr const char* kLayers[] = {"WALLS", "SLAB", "STEPS", "HANDRAIL", "DIMENSIONS", "TEXT", "AXES"};
    static constexpr const char* kLabels[] = {"Room", "Door 88/201", "Landing", "Window", "+2.80", "Detail A"};
    const std::string layer = kLayers[below(std::size(kLayers))];
    const auto begin = [&](const char* kind) {
      group(0, kind);
      char handle[16];
      std::snprintf(handle, sizeof handle, "%zX", handle_++);
      group(5, handle);
      group(8, layer);
    };
    x_ = std::fmod(x_ + static_cast<double>(below(4000)) / 4, 90000);
    y_ = std::fmod(y_ + static_cast<double>(below(400)) * 12.5, 60000);
    const std::size_t kind = below(10);
    if (kind < 5) {
      begin("LINE");
      point(10, x_, y_);
      point(11, x_ + static_cast<double>(below(200)) * 25, y_);
    } else if (kind < 7) {
      begin("ARC");
      point(10, x_, y_);
      number(40, static_cast<double>(below(2000)) / 2);
      number(50, static_cast<double>(below(360)));
      number(51, static_cast<double>(below(360)));
    } else if (kind < 9) {
      begin("LWPOLYLINE");
      const std::size_t corners = 3 + below(8);
      group(90, std::to_string(corners));
      for (std::size_t i = 0; i < corners; ++i) {
        number(10, x_ + static_cast<double>(below(1000)) * 2.5);
        number(20, y_ + static_cast<double>(below(1000)) * 2.5);
      }
    } else {
      begin("TEXT");
      point(10, x_, y_);
      number(40, 250);
      group(1, std::string(kLabels[below(std::size(kLabels))]) + " " + std::to_string(below(300)));
    }
  }

  std::mt19937_64 random_;
  std::string text_;
  std::size_t handle_ = 0x100;
  double x_ = 0;
  double y_ = 0;
};

}  // namespace benchmarks
