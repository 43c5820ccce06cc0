#include "registration/commands/services/helper_program.hpp"

namespace registration::commands {

namespace process = foundation::core::process;

process::process startHelper(Path const& executable, std::vector<std::string> const& arguments) {
  return process::process(
      process::command(fl::i18n::ustring_to_utf8(executable.ustring()), arguments),
      process::context()
          .std_out(process::target::discard())
          .std_err(process::target::discard())
          .detached_process(false)
          .create_no_window(true));
}

}  // namespace registration::commands
