#pragma once

#include <string>

namespace Oru::Tools {

// Times are seconds since 1970.

double now();

// "2026-11-21 13:42:19.371", local time; "-" for 0, which means never.
std::string timeText(double seconds);

// A length of time as people say it: "0.3 s", "2 min 5 s", "3 h 10 min", "4 d 2 h".
std::string durationText(double seconds);

}  // namespace Oru::Tools
