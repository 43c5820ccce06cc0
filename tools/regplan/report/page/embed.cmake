# Writes a C++ source that holds the page's files: cmake -DFOLDER=... -DOUTPUT=... -P embed.cmake
set(source "#include \"tools/regplan/report/page/page.hpp\"\n\nnamespace regplan::page {\n")
foreach(entry "pattern page.html" "style page.css" "script page.js")
  string(REPLACE " " ";" entry "${entry}")
  list(GET entry 0 name)
  list(GET entry 1 file)
  file(READ ${FOLDER}/${file} bytes HEX)
  # A browser reads a page's line ends as LF, and the policy's hashes are of what it reads.
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  string(REPLACE "0x0d," "" bytes "${bytes}")
  string(APPEND source "
namespace {
constexpr unsigned char ${name}Bytes[] = {${bytes}};
}
std::string_view ${name}() {
  return {reinterpret_cast<char const*>(${name}Bytes), sizeof ${name}Bytes};
}
")
endforeach()
file(WRITE ${OUTPUT} "${source}\n}  // namespace regplan::page\n")
