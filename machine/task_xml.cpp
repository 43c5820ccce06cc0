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

}  // namespace machine
