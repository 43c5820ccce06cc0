// throwing_module.dll: functions that throw, exceptions of types that only this module knows.
#include <stdexcept>
#include <string>

namespace {

class OwnError : public std::exception {
 public:
  explicit OwnError(std::string text) : text_(std::move(text)) {}
  char const* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

struct NoStandardException {};

}  // namespace

extern "C" __declspec(dllexport) void ThrowError(char const* a, char const* b, char const* c) {
  throw OwnError(std::string(a) + b + c);
}

extern "C" __declspec(dllexport) void ThrowOther(char const*, char const*, char const*) {
  throw NoStandardException();
}
