#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zt {

/// What `echo -n WORD` prints in bash.
struct EchoedWord {
  enum class Outcome : std::uint8_t {
    text,         ///< `text`, or nothing, or a message of bash, which contains blanks and so is no URL
    openQuote,    ///< only a message: a quote is not closed
    syntaxError,  ///< only a message, for another reason
    uncertain     ///< possibly something else: bash expands a word, or runs another command
  };
  Outcome outcome;
  std::string text{};  ///< meaningless for another outcome
};

/// Does not run bash. `word` has no blanks, TABs or NULs, and each of its LFs follows a CR.
EchoedWord echoed(std::string_view word);

}  // namespace zt
