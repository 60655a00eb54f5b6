#pragma once

#include <memory>

#include "platform/journal.h"

struct sd_journal;

namespace zt::platform {

/// The systemd journal of this machine (sd-journal(3)). Opened when it is first read.
class SystemdJournal final : public Journal {
 public:
  void readForward(Selection selection, JournalEntry::Time from, Place place, const Reader& reader) const override;
  void readBackward(Selection selection, JournalEntry::Time end, Place place, const Reader& reader) const override;
  Scope scope() const override;

 private:
  /// Null without a journal, or without libsystemd.
  sd_journal* seek(Selection selection, JournalEntry::Time time) const;

  mutable bool isOpened_ = false;
  mutable std::shared_ptr<sd_journal> journal_;
};

}  // namespace zt::platform
