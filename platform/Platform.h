#pragma once

#include <cstdint>
#include <string>

// Operating-system services used by the producer. This header is the only place that knows they
// exist; one source file per operating system implements them (PlatformPosix.cpp today).
namespace lumo::mockTL::platform {

// Numeric id of the calling thread, stable for the thread's lifetime (printed in error texts).
std::uint32_t currentThreadId();

// Monotonic clock in nanoseconds; never goes backwards, unrelated to wall time.
std::uint64_t monotonicNanoseconds();

// Address of a function exported by the host executable, or nullptr when it exports none by that
// name. Lets a consumer program configure the producer without files or environment variables.
void* hostExecutableSymbol(const char* name);

// Full UTF-8 path of the loaded module that contains `addressInModule`, empty when unknown.
std::string modulePathOf(const void* addressInModule);

// Path separator of the platform's file names.
char pathSeparator();

// Raises the system timer resolution to 1 ms while paced acquisitions run; the end call undoes one
// begin call. A no-op where the scheduler is already fine-grained.
void beginTimerResolution();
void endTimerResolution();

}  // namespace lumo::mockTL::platform
