#pragma once

#include <cstdio>
#include <cstdlib>

namespace lumo::mockTL::fuzz {

// A harness's own oracle: a broken expectation is a finding like a sanitizer report, so it
// aborts, which libFuzzer records as a crash with the input that caused it.
inline void expect(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "broken expectation: %s\n", what);
    std::abort();
  }
}

}  // namespace lumo::mockTL::fuzz
