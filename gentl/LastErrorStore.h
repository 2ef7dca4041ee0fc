#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace lumo::mockTL::error {

class GenericException;

// Keeps the consumer's last error per thread, keyed by the numeric thread id. Each thread only
// ever sees its own record, but threads failing for the first time insert into the shared map at
// once, so the map is guarded. Process-wide; emptied by GCInitLib and GCCloseLib.
class LastErrorStore {
 public:
  struct Record {
    std::int32_t code = 0;
    std::string text = "NO ERROR";
  };

  static LastErrorStore& instance();

  // Overwrites the calling thread's record with the exception's code and text.
  void store(const GenericException& error);
  // The calling thread's record; a thread that never failed gets {0, "NO ERROR::<thread id>"}.
  Record fetch();
  // Forgets every thread's record.
  void clear();

 private:
  std::mutex mutex_;
  std::map<std::uint32_t, Record> records_;
};

}  // namespace lumo::mockTL::error
