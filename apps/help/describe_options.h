// The description of a command line for tools: man pages and completion are made from it.
#pragma once

namespace CLI {
class App;
}

/// Adds the hidden option --describe, which prints commands, options and texts as JSON:
///
///     {"name", "text", "footer", "options": [{"names", "value", "text", "required"}],
///      "arguments": [the same with one name], "commands": [the same objects]}
///
/// `value` is what --help prints behind an option, empty for flags. The parser then throws
/// CLI::CallForVersion with the text. Call it when the command line is complete.
void addDescription(CLI::App& app);
