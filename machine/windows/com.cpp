#include "machine/windows/com.hpp"

#include "machine/windows/system_error.hpp"

namespace machine::windows {

void requireSuccess(HRESULT result, std::string_view operation, std::u16string_view subject) {
  if (FAILED(result)) {
    bool const isSystemCode = HRESULT_FACILITY(result) == FACILITY_WIN32;
    throw systemError(operation, subject,
                      static_cast<DWORD>(isSystemCode ? HRESULT_CODE(result) : result));
  }
}

ComScope::ComScope() {
  HRESULT const result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
  // The thread is in the other kind of apartment: COM works there, and there is nothing to leave.
  entered_ = result != RPC_E_CHANGED_MODE;
  if (entered_) {
    requireSuccess(result, "initialize COM", u"");
  }
}

ComScope::~ComScope() {
  if (entered_) {
    CoUninitialize();
  }
}

}  // namespace machine::windows
