#include "catalog/FileUndo.h"

#include "catalog/AudioSurroundings.h"
#include "catalog/CatalogError.h"
#include "catalog/TagRefusal.h"
#include "platform/audiofile/FileBytes.h"
#include "platform/audiofile/SplicedFile.h"
#include "platform/FileReplacement.h"

#include <fmt/format.h>

#include <memory>

namespace {

using lc::TagRefusal;
using vesk::WriteFailure;

class FileUndo {
 public:
  FileUndo(const lc::JournalEntry& entry, const LCTagOptions& options, lc::TagJournal& journal)
      : m_entry(entry), m_options(options), m_journal(journal) {
    m_report.path = entry.path();
    m_report.oldId = m_report.newId = entry.latterLoopId;
  }

  LCTagReport report() {
    lc::tryTo(m_report, [this] { undo(); });
    return std::move(m_report);
  }

 private:
  void undo();
  void open();
  bool hasFormerBytes();
  void requireLatterBytes();
  void replace();
  void replaceWith(vesk::Splice splice);
  void markUndone();
  void tellChange();

  const lc::JournalEntry& m_entry;
  const LCTagOptions& m_options;
  lc::TagJournal& m_journal;
  LCTagReport m_report;
  std::unique_ptr<vesk::FoundFile> m_found;
  std::shared_ptr<vesk::ByteSource> m_bytes;
};

void FileUndo::undo() {
  open();
  if (hasFormerBytes()) {
    m_report.oldId = m_report.newId = m_entry.formerLoopId;
    m_report.notes.push_back("it has its former bytes already");
    return markUndone();
  }
  requireLatterBytes();
  replace();
  tellChange();
  markUndone();
}

void FileUndo::open() {
  WriteFailure failure;
  m_found = vesk::FoundFile::open(m_report.path, failure);
  if (!m_found) throw lc::refusalOf(failure, m_report.path);
  m_bytes = vesk::bytesOf(*m_found);
  if (!m_bytes) throw TagRefusal{LCTagProblem::unreadable, "too many files are open"};
}

bool FileUndo::hasFormerBytes() {
  return lc::hasImage(*m_bytes, m_entry.former);
}

void FileUndo::requireLatterBytes() {
  const auto refuse = [](std::string what) {
    throw TagRefusal{LCTagProblem::changed, "it was changed since it was tagged: " + std::move(what)};
  };
  const uint64_t size = m_entry.latter.audio.fileSize;
  if (m_bytes->size() != size) refuse(fmt::format("it has {} bytes and had {}", m_bytes->size(), size));
  if (!lc::hasImage(*m_bytes, m_entry.latter)) refuse("its bytes beside the audio are others");
  const auto state = lc::fileStateAt(m_report.path);
  if (m_entry.latterModified && (!state || state->modified != *m_entry.latterModified)) {
    refuse("it was written to, and the audio may be another");
  }
}

void FileUndo::replace() {
  const auto former = m_journal.formerSurroundings(m_entry);
  if (!former) throw TagRefusal{LCTagProblem::journalFailed, "the journal does not hold its former bytes whole"};
  WriteFailure failure;
  if (!m_found->mayBeReplaced(lc::replaceOptions(m_options), failure)) throw lc::refusalOf(failure, m_report.path);
  if (!m_options.isDryRun) replaceWith(lc::spliceAround(m_entry.latter.audio, m_entry.former.audio, *former));
}

void FileUndo::replaceWith(vesk::Splice splice) {
  const auto isFormer = [this](std::unique_ptr<vesk::ByteSource> written) {
    return lc::hasImage(*written, m_entry.former);
  };
  WriteFailure failure;
  const bool isReplaced = vesk::replaceBySplice(*m_found, std::make_shared<const vesk::Splice>(std::move(splice)),
                                                isFormer, lc::replaceOptions(m_options), failure);
  if (!isReplaced && failure.error != vesk::WriteError::notSynced) throw lc::refusalOf(failure, m_report.path);
  if (failure) m_report.notes.push_back(lc::withoutPath(failure.message, m_report.path));
}

// A journal that refuses now finds the former bytes the next time.
void FileUndo::markUndone() {
  const auto state = lc::fileStateAt(m_report.path);
  if (m_options.isDryRun || !state) return;
  try {
    m_journal.markUndone(m_entry, state->modified);
  } catch (const lc::CatalogError& error) {
    m_report.notes.push_back(error.failure.message);
  }
}

void FileUndo::tellChange() {
  m_report.isChanged = true;
  m_report.newId = m_entry.formerLoopId;
  for (const auto& [name, change] : m_entry.fields) m_report.fields[name] = {.from = change.to, .to = change.from};
}

}  // namespace

LCTagReport lc::undoFile(const JournalEntry& entry, const LCTagOptions& options, TagJournal& journal) {
  return FileUndo(entry, options, journal).report();
}

bool lc::wasNeverWritten(const JournalEntry& entry, TagJournal& journal) {
  if (entry.status != JournalEntry::Status::pending) return false;
  if (journal.hasLaterStart(entry, entry.former)) return true;
  vesk::OpenError error = vesk::OpenError::none;
  std::string detail;
  const auto bytes = vesk::FileBytes::open(entry.path(), error, detail);
  return bytes && hasImage(*bytes, entry.former);
}
