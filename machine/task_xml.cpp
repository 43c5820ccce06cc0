#include "machine/task_xml.hpp"

namespace machine {

namespace {

constexpr bool isHighSurrogate(char16_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool isLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// XML 1.0, production Char, of what is no surrogate.
constexpr bool isXmlUnit(char16_t unit) {
  return unit >= 0x20 ? unit < 0xFFFE : unit == u'\t' || unit == u'\n' || unit == u'\r';
}

/// What has a meaning of its own in XML, and the blanks that a reader would change.
UString escaped(std::u16string_view text) {
  UString result;
  for (char16_t const unit : text) {
    switch (unit) {
      case u'&':
        result += u"&amp;";
        break;
      case u'<':
        result += u"&lt;";
        break;
      case u'>':
        result += u"&gt;";
        break;
      case u'"':
        result += u"&quot;";
        break;
      case u'\'':
        result += u"&apos;";
        break;
      case u'\t':
        result += u"&#9;";
        break;
      case u'\n':
        result += u"&#10;";
        break;
      case u'\r':
        result += u"&#13;";
        break;
      default:
        result += unit;
    }
  }
  return result;
}

UString element(std::u16string_view name, std::u16string_view content) {
  return UString(u"<").append(name).append(u">").append(content).append(u"</").append(name) +
         u">\n";
}

UString textElement(std::u16string_view name, std::u16string_view text) {
  return element(name, escaped(text));
}

/// The schema has no use for an empty element where a text is optional.
UString optionalText(std::u16string_view name, std::u16string_view text) {
  return text.empty() ? UString() : textElement(name, text);
}

UString flag(std::u16string_view name, bool value) {
  return element(name, value ? u"true" : u"false");
}

UString registrationInfo(TaskDefinition const& task) {
  return element(u"RegistrationInfo", textElement(u"Source", task.application) +
                                          optionalText(u"Author", task.author) +
                                          optionalText(u"Description", task.description));
}

UString triggers(TaskDefinition const& task) {
  return element(u"Triggers",
                 task.startsAtLogon ? element(u"LogonTrigger", flag(u"Enabled", true)) : UString());
}

UString principals(TaskDefinition const& task) {
  auto const runLevel = task.highestRunLevel ? u"HighestAvailable" : u"LeastPrivilege";
  return element(u"Principals", u"<Principal id=\"Author\">\n" +
                                    textElement(u"GroupId", task.group) +
                                    element(u"RunLevel", runLevel) + u"</Principal>\n");
}

UString settings(TaskDefinition const& task) {
  return element(u"Settings", element(u"MultipleInstancesPolicy", u"Parallel") +
                                  flag(u"DisallowStartIfOnBatteries", false) +
                                  flag(u"StopIfGoingOnBatteries", false) +
                                  element(u"ExecutionTimeLimit", u"PT0S") +
                                  flag(u"Enabled", task.enabled));
}

UString actions(TaskDefinition const& task) {
  return u"<Actions Context=\"Author\">\n" +
         element(u"Exec", textElement(u"Command", task.application) +
                              optionalText(u"Arguments", task.arguments) +
                              optionalText(u"WorkingDirectory", task.workingFolder)) +
         u"</Actions>\n";
}

/// Where the content of the first element of that name lies; nullopt when there is none.
struct Range {
  std::size_t begin;
  std::size_t end;
};
std::optional<Range> contentRange(std::u16string_view xml, std::u16string_view name) {
  for (auto at = xml.find(u'<'); at != xml.npos; at = xml.find(u'<', at + 1)) {
    if (!xml.substr(at + 1).starts_with(name)) continue;
    auto const after = at + 1 + name.size();
    if (after == xml.size()) return std::nullopt;
    // Before the tag's end is searched for: else many beginnings of other names make that many
    // searches through all that follows.
    if (std::u16string_view(u"> \t\r\n/").find(xml[after]) == std::u16string_view::npos) continue;
    auto const tagEnd = xml.find(u'>', after);
    if (tagEnd == xml.npos) return std::nullopt;
    if (xml[tagEnd - 1] == u'/') return Range{tagEnd + 1, tagEnd + 1};
    auto const end = xml.find(UString(u"</").append(name), tagEnd);
    return end == xml.npos ? std::nullopt : std::optional(Range{tagEnd + 1, end});
  }
  return std::nullopt;
}

std::u16string_view contentOf(std::u16string_view xml, std::u16string_view name) {
  auto const range = contentRange(xml, name);
  return range ? xml.substr(range->begin, range->end - range->begin) : std::u16string_view();
}

/// A character reference, "#10" or "#xA"; empty when it is none.
UString referenced(std::u16string_view name) {
  constexpr std::u16string_view digits = u"0123456789abcdef";
  bool const hexadecimal = name.starts_with(u"#x");
  char32_t const base = hexadecimal ? 16 : 10;
  name.remove_prefix(hexadecimal ? 2 : 1);
  char32_t code = 0;
  for (char16_t const unit : foldCase(name)) {
    auto const digit = digits.substr(0, base).find(unit);
    if (digit == digits.npos || code > 0x10FFFF) return {};
    code = code * base + static_cast<char32_t>(digit);
  }
  if (code > 0x10FFFF) return {};
  if (code < 0x10000) return UString(1, static_cast<char16_t>(code));
  return {static_cast<char16_t>(0xD7C0 + (code >> 10)),
          static_cast<char16_t>(0xDC00 + (code & 0x3FF))};
}

UString entity(std::u16string_view name) {
  if (name == u"amp") return u"&";
  if (name == u"lt") return u"<";
  if (name == u"gt") return u">";
  if (name == u"quot") return u"\"";
  if (name == u"apos") return u"'";
  return name.starts_with(u'#') ? referenced(name) : UString();
}

UString unescaped(std::u16string_view text) {
  UString result;
  while (!text.empty()) {
    auto const begin = text.find(u'&');
    result += text.substr(0, begin);
    if (begin == text.npos) break;
    auto const end = text.find(u';', begin);
    if (end == text.npos) break;
    result += entity(text.substr(begin + 1, end - begin - 1));
    text.remove_prefix(end + 1);
  }
  return result;
}

UString textOf(std::u16string_view xml, std::u16string_view name) {
  return unescaped(contentOf(xml, name));
}

}  // namespace

bool isXmlText(std::u16string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      ++i;
    } else if (isHighSurrogate(text[i]) || isLowSurrogate(text[i]) || !isXmlUnit(text[i])) {
      return false;
    }
  }
  return true;
}

UString taskXml(TaskDefinition const& definition) {
  return u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"
         u"<Task version=\"1.2\" "
         u"xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">\n" +
         registrationInfo(definition) + triggers(definition) + principals(definition) +
         settings(definition) + actions(definition) + u"</Task>\n";
}

std::optional<TaskDefinition> taskFromXml(std::u16string_view document) {
  if (document.size() > largestTaskDocument) return std::nullopt;
  auto const task = contentOf(document, u"Task");
  auto const program = contentOf(task, u"Exec");
  auto const registration = contentOf(task, u"RegistrationInfo");
  auto const principal = contentOf(task, u"Principal");
  if (!contentRange(task, u"Actions")) return std::nullopt;
  TaskDefinition result;
  result.application = textOf(program, u"Command");
  result.arguments = textOf(program, u"Arguments");
  result.workingFolder = textOf(program, u"WorkingDirectory");
  result.description = textOf(registration, u"Description");
  result.author = textOf(registration, u"Author");
  result.startsAtLogon = contentRange(contentOf(task, u"Triggers"), u"LogonTrigger").has_value();
  result.highestRunLevel = textOf(principal, u"RunLevel") == u"HighestAvailable";
  result.group = textOf(principal, u"GroupId");
  result.enabled = textOf(contentOf(task, u"Settings"), u"Enabled") != u"false";
  return result;
}

UString disabledTaskXml(std::u16string_view document) {
  UString result(document);
  constexpr std::u16string_view setting = u"<Enabled>false</Enabled>";
  auto const settings = contentRange(document, u"Settings");
  if (!settings) {
    auto const end = document.rfind(u"</Task");
    return result.insert(end, UString(u"<Settings>").append(setting).append(u"</Settings>"));
  }
  auto const content = document.substr(settings->begin, settings->end - settings->begin);
  if (auto const enabled = contentRange(content, u"Enabled")) {
    return result.replace(settings->begin + enabled->begin, enabled->end - enabled->begin,
                          u"false");
  }
  return result.insert(settings->end, setting);
}

}  // namespace machine
