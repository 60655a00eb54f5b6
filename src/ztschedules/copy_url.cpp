#include "ztschedules/copy_url.h"

#include <algorithm>
#include <string_view>

#include "platform/task.h"
#include "util/url.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

std::string_view lastWord(const CrontabLine& line) {
  const std::string_view command = line.parts().back();
  return command.substr(command.rfind(' ') + 1);  // all of a command without a blank
}

/// Whether bash gives a word back unchanged. Control characters may change, but no URL contains them either.
bool isPlain(std::string_view word) {
  static constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/:.%_-+@,=^";
  return std::ranges::all_of(word, [](char c) {
    const bool isGraphicAscii = c >= ' ' && c <= '~';
    return !isGraphicAscii || plain.find(c) != plain.npos;
  });
}

/// Whether bash reads a word as something other than a word of the command: a redirection, an operator, a comment.
bool isNoCommandWord(std::string_view word) {
  if (word.starts_with('#')) return true;
  const auto start = word.find_first_not_of("0123456789");  // of the descriptor that is redirected
  return start != word.npos && std::string_view("<>&|;").find(word[start]) != word.npos;
}

/// Whether a quote is open at the end of a word. False for words that bash expands: they can have other kinds of
/// quotes.
bool hasOpenQuote(std::string_view word) {
  if (word.find_first_of("$`") != word.npos) return false;
  char open = 0;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] == '\\' && open != '\'') {
      ++i;
    } else if (word[i] == open) {
      open = 0;
    } else if (open == 0 && (word[i] == '\'' || word[i] == '"')) {
      open = word[i];
    }
  }
  return open != 0;
}

}  // namespace

std::string copyName(const CrontabLine& line) {
  const auto word = lastWord(line);
  auto path = word;
  const bool isInQuotes = path.size() > 1 && path.front() == path.back() && (path[0] == '"' || path[0] == '\'');
  if (isInQuotes) path = path.substr(1, path.size() - 2);
  path = path.substr(0, path.find_first_of("?#"));
  while (path.ends_with('/')) path.remove_suffix(1);
  const auto name = path.substr(path.rfind('/') + 1);
  return std::string(name.empty() || name.ends_with(':') ? word : name);
}

std::optional<std::string> urlError(const CrontabLine& line) {
  const auto word = lastWord(line);
  if (word.empty()) return "the command does not end in a URL";
  if (isNoCommandWord(word)) return quote(word) + " is not a URL: the command has to end in one";
  if (hasOpenQuote(word)) return "a quote in " + quote(word) + " is not closed: write a blank in a URL as %20";
  if (!platform::Task::isArgument("echo -n " + std::string(word))) return "the URL is too long, or contains a NUL";
  if (!isPlain(word) || util::URL::parse(word)) return std::nullopt;
  return quote(word) + " is not a URL: percent-encode what a URL cannot contain";
}

std::optional<std::string> urlWarning(const CrontabLine& line) {
  // This is how crontab(1) prints the CR of a line that ends in CR LF.
  if (!lastWord(line).ends_with("\\r")) return std::nullopt;
  return "the URL ends in an r that stands for a CR: use LF alone to end the line";
}

}  // namespace zt
