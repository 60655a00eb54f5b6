#include "ztschedules/last_word.h"

#include <algorithm>
#include <string_view>

#include "platform/commands.h"
#include "util/url.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

std::string_view lastWord(const CrontabLine& line) {
  const std::string_view command = line.parts().back();
  return command.substr(command.rfind(' ') + 1);  // of a command without a blank all of it
}

/// Whether bash gives a word back as it is. It need not for control characters, but no URL has one of them either.
bool isPlain(std::string_view word) {
  static constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/:.%_-+@,=^";
  return std::ranges::all_of(word, [](char c) {
    const bool isGraphicAscii = c >= ' ' && c <= '~';
    return !isGraphicAscii || plain.find(c) != plain.npos;
  });
}

/// Whether bash takes a word for something that follows the words of a command: a redirection, an operator, a comment.
bool isNoWord(std::string_view word) {
  if (word.starts_with('#')) return true;
  const auto start = word.find_first_not_of("0123456789");  // of the descriptor that is redirected
  return start != word.npos && std::string_view("<>&|;").find(word[start]) != word.npos;
}

/// Whether a quote is open at the end of a word; no for words that bash expands, which can have quotes of another kind.
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

std::optional<std::string> problemOfLastWord(const CrontabLine& line) {
  const auto word = lastWord(line);
  if (word.empty()) return "the command does not end in a URL";
  if (isNoWord(word)) return quote(word) + " is not a URL: the last word of the command has to be one";
  if (hasOpenQuote(word)) return "a quote in " + quote(word) + " is not closed: a blank in a URL is written as %20";
  if (!Commands::isArgument(word)) return "the URL is too long, or has a NUL in it";
  if (!isPlain(word) || URL::parse(word)) return std::nullopt;
  return quote(word) + " is not a URL: what may not stand in one has to be percent-encoded";
}

std::optional<std::string> warningOfLastWord(const CrontabLine& line) {
  // So crontab(1) shows the CR of a line that ends in CR LF.
  if (!lastWord(line).ends_with("\\r")) return std::nullopt;
  return "the URL ends in an r that stands for a CR: end the line in LF alone";
}

}  // namespace zt
