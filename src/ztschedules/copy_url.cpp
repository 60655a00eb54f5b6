#include "ztschedules/copy_url.h"

#include "platform/task.h"
#include "ztschedules/echoed_word.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

/// Whether bash can be given the command that echoes a word.
bool canBeEchoed(std::string_view word) {
  return platform::Task::isArgument("echo -n " + std::string(word));
}

/// Whether a URL is a file URL (RFC 8089) without an absolute path, or of another machine.
bool namesNoPath(std::string_view url) {
  static constexpr std::string_view scheme = "file:";
  if (!util::isSame(url.substr(0, scheme.size()), scheme, {.caseInsensitive = true})) return false;
  const auto rest = url.substr(scheme.size());
  const bool hasHost = rest.starts_with("//") && !rest.starts_with("///") && !rest.starts_with("//localhost/");
  return hasHost || !rest.starts_with('/');
}

}  // namespace

std::string_view lastWord(const CrontabLine& line) {
  const std::string_view command = line.parts().back();
  return command.substr(command.rfind(' ') + 1);
}

std::optional<util::URL> certainURL(const CrontabLine& line) {
  const auto word = lastWord(line);
  if (!canBeEchoed(word)) return std::nullopt;
  const auto [outcome, text] = echoed(word);
  const bool isCertain = outcome == EchoedWord::Outcome::text && !text.empty();
  return isCertain ? util::URL::parse(text) : std::nullopt;
}

std::string copyName(const CrontabLine& line) {
  if (const auto url = certainURL(line)) {
    const auto components = url->pathComponents();
    return components.empty() || components.back() == "/" ? url->absoluteString() : components.back();
  }
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
  if (!canBeEchoed(word)) return "the URL is too long, or contains a NUL";
  const auto [outcome, text] = echoed(word);
  switch (outcome) {
    case EchoedWord::Outcome::uncertain:
      return std::nullopt;
    case EchoedWord::Outcome::openQuote:
      return "a quote in " + quote(word) + " is not closed: write a blank in a URL as %20";
    case EchoedWord::Outcome::syntaxError:
      return "bash cannot parse " + quote(word) + ": put the URL in quotes";
    case EchoedWord::Outcome::text:
      break;
  }
  if (text.empty()) return quote(word) + " is not a URL: the command has to end in one";
  if (util::URL::parse(text)) return std::nullopt;
  return quote(word) + " is not a URL: percent-encode what a URL cannot contain";
}

std::optional<std::string> urlWarning(const CrontabLine& line) {
  // This is how crontab(1) prints the CR of a line that ends in CR LF.
  if (lastWord(line).ends_with("\\r")) {
    return "the URL ends in an r that stands for a CR: use LF alone to end the line";
  }
  const auto url = certainURL(line);
  if (!url) return std::nullopt;
  const auto& text = url->absoluteString();
  if (!url->hasScheme())
    return quote(text) +
           ", the last word, is not an absolute URL: write a folder as file:// and its path, a blank as %20";
  if (namesNoPath(text)) return quote(text) + " does not name a folder here: its path has to begin after file://";
  return std::nullopt;
}

}  // namespace zt
