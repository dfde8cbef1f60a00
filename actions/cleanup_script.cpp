#include "actions/cleanup_script.h"

namespace vestigo {
namespace {

std::string command(const CleanupMove& move) {
    if (!move.newName) {
        return "mv -f " + shellQuoted(move.path) + " " + shellQuoted(move.folder) + "/";
    }
    return "mv -n " + shellQuoted(move.path) + " " + shellQuoted(move.folder + "/" + *move.newName);
}

}  // namespace

std::string shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char letter : text) {
        if (letter == '\'') {
            quoted += R"('\'')";
        } else {
            quoted += letter;
        }
    }
    return quoted += '\'';
}

std::string cleanupScript(std::span<const CleanupMove> moves) {
    std::string script = "#!/bin/sh\n";
    for (const auto& move : moves) script.append(command(move)).append(" 2>/dev/null || true\n");
    return script;
}

std::array<std::string, 2> osascriptArguments(std::string_view scriptPath) {
    std::string statement = R"(do shell script "/bin/sh \")";
    statement.append(scriptPath).append(R"(\"" with administrator privileges)");
    return {"-e", statement};
}

}  // namespace vestigo
