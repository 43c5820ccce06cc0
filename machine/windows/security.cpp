#include "machine/windows/security.hpp"

#include <aclapi.h>
#include <sddl.h>

#include <algorithm>

#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

constexpr std::string_view operation = "find out who has access";

void require(BOOL succeeded) {
  if (!succeeded) {
    throw systemError(operation, u"");
  }
}

UString textOf(PSID identifier) {
  wchar_t* text = nullptr;
  require(ConvertSidToStringSidW(identifier, &text));
  UniqueLocalText const owner(text);
  return UString(unitsOf(text));
}

/// "DOMAIN\name", or the identifier of an account that is not known here.
UString nameOf(PSID identifier) {
  std::array<wchar_t, 256> name{};
  std::array<wchar_t, 256> domain{};
  auto nameSize = static_cast<DWORD>(name.size());
  auto domainSize = static_cast<DWORD>(domain.size());
  SID_NAME_USE use{};
  if (!LookupAccountSidW(nullptr, identifier, name.data(), &nameSize, domain.data(), &domainSize,
                         &use)) {
    return textOf(identifier);
  }
  UString const account(unitsOf(name.data()));
  return domain[0] == L'\0' ? account : UString(unitsOf(domain.data())) + u'\\' + account;
}

/// Accounts that could do anything anyway. Microsoft, "Well-known SIDs"; the last is the service
/// TrustedInstaller, which owns the system's files.
bool isTrusted(PSID identifier) {
  for (auto const kind :
       {WinBuiltinAdministratorsSid, WinLocalSystemSid, WinCreatorOwnerRightsSid}) {
    if (IsWellKnownSid(identifier, kind)) {
      return true;
    }
  }
  return EqualSid(identifier, Identifier::ofUser().get()) ||
         textOf(identifier) == u"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";
}

constexpr DWORD writing = FILE_WRITE_DATA | FILE_APPEND_DATA;
constexpr DWORD replacing = FILE_DELETE_CHILD | DELETE | WRITE_DAC | WRITE_OWNER;

/// What an entry of an access list gives to others.
DWORD givenToOthers(ACE_HEADER* entry) {
  auto* const allowed = reinterpret_cast<ACCESS_ALLOWED_ACE*>(entry);
  bool const isAllowing = entry->AceType == ACCESS_ALLOWED_ACE_TYPE ||
                          entry->AceType == ACCESS_ALLOWED_CALLBACK_ACE_TYPE;
  bool const isHere = (entry->AceFlags & INHERIT_ONLY_ACE) == 0;
  if (!isAllowing || !isHere || isTrusted(&allowed->SidStart)) {
    return 0;
  }
  GENERIC_MAPPING mapping{FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE,
                          FILE_ALL_ACCESS};
  DWORD mask = allowed->Mask;
  MapGenericMask(&mask, &mapping);
  return mask;
}

}  // namespace

Identifier::Identifier(WELL_KNOWN_SID_TYPE kind) {
  auto size = static_cast<DWORD>(bytes_.size());
  require(CreateWellKnownSid(kind, nullptr, bytes_.data(), &size));
}

Identifier Identifier::ofUser() {
  HANDLE token = nullptr;
  if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token)) {
    require(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
  }
  UniqueHandle const owner(token);
  // The user's identifier follows the structure that points to it.
  std::array<BYTE, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> answer;
  DWORD size = 0;
  require(GetTokenInformation(token, TokenUser, answer.data(), static_cast<DWORD>(answer.size()),
                              &size));
  Identifier result;
  require(CopySid(static_cast<DWORD>(result.bytes_.size()), result.bytes_.data(),
                  reinterpret_cast<TOKEN_USER const*>(answer.data())->User.Sid));
  return result;
}

UString Identifier::text() const {
  return textOf(get());
}

bool isAdministrator() {
  BOOL is = FALSE;
  require(CheckTokenMembership(nullptr, Identifier(WinBuiltinAdministratorsSid).get(), &is));
  return is != FALSE;
}

UniqueDescriptor descriptorFrom(UString const& text) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  require(ConvertStringSecurityDescriptorToSecurityDescriptorW(wide(text), SDDL_REVISION_1,
                                                               &descriptor, nullptr));
  return UniqueDescriptor(descriptor);
}

UString ownAccess(bool isReadable) {
  constexpr std::u16string_view list = u"D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
  // What an administrator makes belongs to the administrators: another one must be able to use it.
  UString text = isAdministrator()
                     ? u"O:BA" + UString(list)
                     : UString(list) + u"(A;OICI;FA;;;" + Identifier::ofUser().text() + u")";
  return isReadable ? text + u"(A;OICI;FRFX;;;BU)" : text;
}

ForeignAccess foreignAccessOf(HANDLE file, std::u16string_view name) {
  PSID owner = nullptr;
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  DWORD const error =
      GetSecurityInfo(file, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                      &owner, nullptr, &list, nullptr, &descriptor);
  UniqueDescriptor const holder(descriptor);
  if (error == ERROR_ACCESS_DENIED) {
    return {{}, true, true};
  }
  if (error != ERROR_SUCCESS) {
    throw systemError(operation, name, error);
  }
  if (owner != nullptr && !isTrusted(owner)) {
    return {nameOf(owner), true, true};
  }
  if (list == nullptr) {
    return {{}, true, true};  // everybody may do all
  }
  DWORD given = 0;
  for (DWORD i = 0; i < list->AceCount; ++i) {
    void* entry = nullptr;
    if (GetAce(list, i, &entry)) {
      given |= givenToOthers(static_cast<ACE_HEADER*>(entry));
    }
  }
  return {{}, (given & writing) != 0, (given & replacing) != 0};
}

}  // namespace machine::windows
