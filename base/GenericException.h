#pragma once

#include <cstdint>
#include <string>

namespace lumo::mockTL::error {

// The producer's one failure type. Deliberately not derived from std::exception, so that a
// handler for standard exceptions never swallows it. The text is composed once, at the throw:
// "<message>:<where>:<thread id>", where `where` is the qualified name of the raising operation.
class GenericException {
 public:
  GenericException(std::int32_t code, const std::string& where, const std::string& message);

  std::int32_t code() const noexcept { return code_; }
  const std::string& text() const noexcept { return text_; }

 private:
  std::int32_t code_;
  std::string text_;
};

}  // namespace lumo::mockTL::error
