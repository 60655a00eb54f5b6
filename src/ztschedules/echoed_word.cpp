#include "ztschedules/echoed_word.h"

#include <algorithm>
#include <charconv>

namespace zt {
namespace {

bool contains(std::string_view text, char c) {
  return text.find(c) != text.npos;
}

/// Splits a text as bash does into words and operators.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  std::string_view rest() const { return rest_; }
  bool isInQuotes() const { return quote_ != 0; }  // at the end of the text
  bool expands() const { return expands_; }        // whether bash may expand one of the words so far

  /// Takes a word, and gives it without its quotes. Nothing is left of the text after $ or `: there can be other kinds
  /// of quotes.
  std::string takeWord() {
    std::string word;
    for (; !rest_.empty(); rest_.remove_prefix(1)) {
      const char c = rest_.front();
      if (c == quote_) {
        quote_ = 0;
      } else if (quote_ == 0 && contains("'\"", c)) {
        quote_ = c;
      } else if (quote_ == 0 && contains(operatorCharacters, c)) {
        break;
      } else if (quote_ != '\'' && contains("$`", c)) {
        expands_ = true;
        quote_ = 0;
        rest_ = {};
        break;
      } else {
        if (isEscape()) rest_.remove_prefix(1);
        expands_ = expands_ || (quote_ == 0 && contains("*?[{~", c));
        word += rest_.front();
      }
    }
    return word;
  }

  /// Takes what is before the next word, and gives the operators of it: a comment is none, a line feed is one.
  std::string takeOperators() {
    std::string operators;
    for (; !rest_.empty(); rest_.remove_prefix(1)) {
      if (rest_.front() == '#') rest_.remove_prefix(std::min(rest_.find('\n'), rest_.size()));
      if (rest_.empty() || !contains(operatorCharacters, rest_.front())) break;
      operators += rest_.front();
    }
    return operators;
  }

 private:
  static constexpr std::string_view operatorCharacters = ";&|<>()\n";

  /// Whether a backslash that quotes the next character is next. At the end of the text there is none to quote.
  bool isEscape() const {
    if (!rest_.starts_with('\\') || rest_.size() == 1) return false;
    return quote_ == 0 || (quote_ == '"' && contains("$`\"\\", rest_[1]));
  }

  std::string_view rest_;
  char quote_ = 0;
  bool expands_ = false;
};

/// Whether a text directly before < or > is the number of a descriptor. Other numbers are words there.
bool isDescriptor(std::string_view text) {
  int number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() && text.front() != '-';
}

/// Whether echo takes its argument as options, and prints nothing.
bool isOption(std::string_view text) {
  return text.size() > 1 && text.front() == '-' && text.find_first_not_of("neE", 1) == text.npos;
}

/// What the operators and words behind the argument of echo make of its text.
EchoedWord::Outcome outcomeOfRest(Scanner& scanner) {
  using enum EchoedWord::Outcome;
  bool runsMore = false;
  while (!scanner.rest().empty()) {
    auto operators = scanner.takeOperators();
    const auto rest = scanner.rest();
    // By now bash has run the line before, and behind << it reads the next ones in another way.
    if (contains(operators, '\n') && (runsMore || !rest.empty())) return uncertain;
    std::erase(operators, '\n');
    if (operators.find_first_of("()") != operators.npos) return uncertain;
    if (operators.ends_with('&') && rest.starts_with('-') && rest.size() > 1) return uncertain;  // as in 2>&-word
    if (rest.empty()) {
      const bool isWhole = operators.empty() || operators == ";" || operators == "&";
      if (!isWhole) return syntaxError;  // a command or a file name is missing
    } else if (operators.find_first_of("<>") == operators.npos) {
      runsMore = true;
    }
    scanner.takeWord();
  }
  if (scanner.isInQuotes()) return openQuote;
  return scanner.expands() || runsMore ? uncertain : text;
}

}  // namespace

EchoedWord echoed(std::string_view word) {
  using enum EchoedWord::Outcome;
  Scanner scanner(word);
  auto argument = word.starts_with('#') ? std::string() : scanner.takeWord();
  const auto rest = scanner.rest();
  const bool isRedirected = rest.starts_with('<') || rest.starts_with('>');
  if (isOption(argument) || (isRedirected && isDescriptor(word.substr(0, word.size() - rest.size())))) argument.clear();
  // Whatever follows this line, it prints its CR first.
  if (rest.starts_with('\n') && !scanner.expands()) return {text, argument};
  if (rest.starts_with('(') || rest.starts_with(')')) return {syntaxError};
  return {outcomeOfRest(scanner), argument};
}

}  // namespace zt
