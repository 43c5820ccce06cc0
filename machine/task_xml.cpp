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

/// A part of a document.
struct Range {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// Where an element lies: its first tag, and its content, which `<a/>` has none of.
struct Element {
  Range tag;
  Range content;
  bool isEmptyTag = false;
};

/// The first element of that name within a part; nullopt when there is none that ends there.
std::optional<Element> findElement(std::u16string_view document, Range within,
                                   std::u16string_view name) {
  auto const xml = document.substr(0, within.end);
  for (auto at = xml.find(u'<', within.begin); at != xml.npos; at = xml.find(u'<', at + 1)) {
    if (!xml.substr(at + 1).starts_with(name)) continue;
    auto const after = at + 1 + name.size();
    // Before the tag's end is searched for: else many beginnings of other names make that many
    // searches through all that follows.
    bool const isThis =
        after < xml.size() && std::u16string_view(u" \t\r\n/>").find(xml[after]) != xml.npos;
    if (!isThis) continue;
    auto const tagEnd = xml.find(u'>', after);
    if (tagEnd == xml.npos) return std::nullopt;
    Range const tag{at, tagEnd + 1};
    if (xml[tagEnd - 1] == u'/') return Element{tag, {tag.end, tag.end}, true};
    auto const end = xml.find(UString(u"</").append(name), tagEnd);
    if (end == xml.npos) return std::nullopt;
    return Element{tag, {tag.end, end}};
  }
  return std::nullopt;
}

std::optional<Element> findElement(std::u16string_view document, std::u16string_view name) {
  return findElement(document, {0, document.size()}, name);
}

std::u16string_view contentOf(std::u16string_view xml, std::u16string_view name) {
  auto const element = findElement(xml, name);
  if (!element) return {};
  return xml.substr(element->content.begin, element->content.end - element->content.begin);
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
  if (!findElement(task, u"Actions")) return std::nullopt;
  TaskDefinition result;
  result.application = textOf(program, u"Command");
  result.arguments = textOf(program, u"Arguments");
  result.workingFolder = textOf(program, u"WorkingDirectory");
  result.description = textOf(registration, u"Description");
  result.author = textOf(registration, u"Author");
  result.startsAtLogon = findElement(contentOf(task, u"Triggers"), u"LogonTrigger").has_value();
  result.highestRunLevel = textOf(principal, u"RunLevel") == u"HighestAvailable";
  result.group = textOf(principal, u"GroupId");
  result.enabled = textOf(contentOf(task, u"Settings"), u"Enabled") != u"false";
  return result;
}

UString disabledTaskXml(std::u16string_view document) {
  UString result(document);
  UString const setting = u"<Enabled>false</Enabled>";
  UString const allSettings = u"<Settings>" + setting + u"</Settings>";
  auto const replace = [&](Range const& range, UString const& text) {
    return result.replace(range.begin, range.end - range.begin, text);
  };
  auto const task = findElement(document, u"Task");
  if (!task) return result;
  // What is added comes first: an element before it that has no end would take it in.
  auto const settings = findElement(document, task->content, u"Settings");
  if (!settings) return result.insert(task->content.begin, allSettings);
  if (settings->isEmptyTag) return replace(settings->tag, allSettings);
  auto const enabled = findElement(document, settings->content, u"Enabled");
  if (!enabled) return result.insert(settings->content.begin, setting);
  if (enabled->isEmptyTag) return replace(enabled->tag, setting);
  return replace(enabled->content, u"false");
}

}  // namespace machine
