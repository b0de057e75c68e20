#include "catalog/FileTagging.h"

#include "catalog/AudioSurroundings.h"
#include "catalog/CatalogError.h"
#include "catalog/TagChanges.h"
#include "catalog/TagRefusal.h"
#include "fileio/LoopTagging.h"
#include "indexing/FileCopying.h"
#include "platform/audiofile/AudioFileEdit.h"
#include "platform/audiofile/FileBytes.h"
#include "platform/Path.h"
#include "VeskLoopManagement/catalog/LCLoopFile.h"
#include "VeskLoopManagement/model/LCNodeTypesHelper.h"

#include <fmt/format.h>

namespace {

using lc::TagRefusal;
using vesk::WriteError;
using vesk::WriteFailure;

// One file on its way.
class FileTagging {
 public:
  FileTagging(const LCTagEdit& edit, const LCTagOptions& options, lc::JournaledRun* run)
      : m_edit(edit), m_options(options), m_run(run) {
    m_report.path = vesk::path::resolvingSymlinks(edit.path);
  }

  LCTagReport report() {
    lc::tryTo(m_report, [this] { tag(); });
    return std::move(m_report);
  }

 private:
  void tag();
  void open();
  void readRecord();
  void edit();
  void preview();
  void tellChange();
  void copyToBackup();
  std::vector<std::byte> surroundingsToKeep();
  void noteInJournal();
  void commit();
  void readAgain();
  void markDone();

  std::unique_ptr<vesk::FileBytes> bytesOnDisk() const {
    vesk::OpenError error = vesk::OpenError::none;
    std::string detail;
    return vesk::FileBytes::open(path(), error, detail);
  }
  vesk::URL url() const { return vesk::URL::fileURLWithPath(path(), false); }
  const std::string& path() const { return m_report.path; }

  const LCTagEdit& m_edit;
  const LCTagOptions& m_options;
  lc::JournaledRun* m_run;
  LCTagReport m_report;
  std::unique_ptr<vesk::AudioFileEdit> m_file;
  LCFileData m_record;
  lc::WantedTags m_wanted;
  LCFileData m_expected;  // as it will be read
  lc::FileImage m_former;
  lc::FileImage m_latter;
  int64_t m_entryId = 0;
};

void FileTagging::tag() {
  open();
  readRecord();
  edit();
  preview();
  if (!m_file->hasChanges()) return;
  if (m_options.isDryRun) return tellChange();
  copyToBackup();
  noteInJournal();
  commit();
  tellChange();
  readAgain();
  markDone();
}

// --- In memory ---

// Before the record is read: a file that changes in between is then refused when it is replaced.
void FileTagging::open() {
  const int32_t type = LCNodeTypesHelper::nodeTypeFromPath(path());
  if (type == kNodeREX || type == kNodeLoopData) {
    throw TagRefusal{LCTagProblem::unsupported, "tags cannot be written into files of this kind"};
  }
  WriteFailure failure;
  m_file = vesk::AudioFileEdit::open(path(), failure, lc::replaceOptions(m_options));
  if (m_file) return;
  if (failure.error == WriteError::notAudio || failure.error == WriteError::noChunks) {
    throw TagRefusal{LCTagProblem::unsupported, "it is none of AIFF, WAV and CAF, into which tags can be written"};
  }
  throw lc::refusalOf(failure, path());
}

void FileTagging::readRecord() {
  LCLoopFile read = LCLoopFile::read(path(), url());
  if (!read.record) {
    const bool isUnsupported = read.failure.problem == LCFileProblem::unsupported;
    throw TagRefusal{isUnsupported ? LCTagProblem::unsupported : LCTagProblem::unreadable,
                     isUnsupported ? "it has no extension of a loop file" : read.failure.detail};
  }
  m_record = std::move(*read.record);
  m_report.oldId = m_report.newId = m_record.hash;
  const bool changesList = std::ranges::any_of(m_edit.changes, [](const LCTagChange& change) {
    return change.kind == LCTagChange::Kind::addDescriptor || change.kind == LCTagChange::Kind::removeDescriptor;
  });
  if (read.notes.empty() || !changesList) return;
  throw TagRefusal{LCTagProblem::irregular, "its list of descriptors may not be whole: " + read.notes.front()};
}

void FileTagging::edit() {
  m_wanted = lc::wantedTags(m_record, m_edit.changes);
  if (!m_options.allowsUnknownKeywords) lc::requireKnownKeywords(m_record, m_wanted);
  if (auto remark = lc::remarkOnInstrument(m_record, m_wanted)) m_report.notes.push_back(std::move(*remark));
  if (const auto reason = lc::editTags(*m_file, m_wanted.record, m_wanted.fields)) {
    throw TagRefusal{LCTagProblem::notCarried, *reason};
  }
}

void FileTagging::preview() {
  std::string reason;
  auto record = lc::recordWithEdits(*m_file, url(), reason);
  if (!record) throw TagRefusal{LCTagProblem::notCarried, lc::withoutPath(reason, path())};
  lc::requireCarried(m_record, m_wanted, *record, m_file->file().kind());
  m_expected = std::move(*record);
}

void FileTagging::tellChange() {
  m_report.isChanged = true;
  m_report.newId = m_expected.hash;
  m_report.fields = lc::fieldChanges(m_record, m_expected);
}

// --- On the disk ---

// "Name.aif", "Name 2.aif", …: what is there is never replaced.
void FileTagging::copyToBackup() {
  if (!m_options.backupFolder) return;
  const auto fail = [](const std::string& reason) { throw TagRefusal{LCTagProblem::backupFailed, reason}; };
  std::string reason;
  if (!vesk::path::createDirectories(*m_options.backupFolder, &reason)) fail(reason);
  const std::string name = vesk::path::lastComponent(path());
  const std::string stem = vesk::path::deletingExtension(name);
  std::string copy = vesk::path::appending(*m_options.backupFolder, name);
  std::error_code error = lc::copyFile(path(), copy);
  for (int number = 2; error == std::errc::file_exists; ++number) {
    copy =
        vesk::path::appending(*m_options.backupFolder, fmt::format("{} {}{}", stem, number, name.substr(stem.size())));
    error = lc::copyFile(path(), copy);
  }
  if (error) fail(error.message());
  m_report.backup = copy;
}

// The old surroundings of the audio, when both they and the new ones can be kept. Sets m_former and m_latter.
std::vector<std::byte> FileTagging::surroundingsToKeep() {
  WriteFailure failure;
  const auto bytes = m_file->edited(failure);
  const auto layout = m_file->preview(failure);
  const auto formerBytes = bytesOnDisk();
  if (!bytes || !layout || !formerBytes) throw TagRefusal{LCTagProblem::unreadable, "it cannot be read"};
  const lc::AudioPlace formerPlace = lc::audioPlaceIn(m_file->file());
  const lc::AudioPlace latterPlace = lc::audioPlaceIn(*layout);
  auto former = lc::surroundings(*formerBytes, formerPlace);
  const auto latter = lc::surroundings(*bytes, latterPlace);
  if (!former || !latter) {
    throw TagRefusal{LCTagProblem::journalFailed, "more than 256 MiB of it are no audio, or they cannot be read"};
  }
  m_former = lc::imageOf(formerPlace, *former);
  m_latter = lc::imageOf(latterPlace, *latter);
  return std::move(*former);
}

void FileTagging::noteInJournal() {
  const auto former = surroundingsToKeep();
  const auto state = lc::fileStateAt(path());
  const auto noted = lc::outcomeOf([&] {
    return m_run->add({.urlText = url().absoluteString(),
                       .former = m_former,
                       .latter = m_latter,
                       .formerLoopId = m_record.hash,
                       .latterLoopId = m_expected.hash,
                       .formerModified = state ? state->modified : 0,
                       .fields = lc::fieldChanges(m_record, m_expected)},
                      former);
  });
  if (!noted) {
    throw TagRefusal{LCTagProblem::journalFailed,
                     fmt::format("{}: {}", noted.failure().message, noted.failure().subject)};
  }
  m_entryId = *noted;
}

void FileTagging::commit() {
  WriteFailure failure;
  if (m_file->commit(failure) == vesk::AudioFileEdit::Outcome::written) return;
  if (failure.error == WriteError::notSynced) return m_report.notes.push_back(lc::withoutPath(failure.message, path()));
  if (failure.error != WriteError::brokenOff) m_run->remove(m_entryId);
  throw lc::refusalOf(failure, path());
}

void FileTagging::readAgain() {
  const LCLoopFile read = LCLoopFile::read(path(), url());
  const auto bytes = bytesOnDisk();
  const bool isAsExpected =
      read.record && lc::areSameRecords(*read.record, m_expected) && bytes && lc::hasImage(*bytes, m_latter);
  if (!isAsExpected) {
    throw TagRefusal{LCTagProblem::changed, "it was written, and reads otherwise now: somebody else has changed it"};
  }
}

// A journal that refuses now still knows the file as one that was about to be written.
void FileTagging::markDone() {
  const auto state = lc::fileStateAt(path());
  if (!state) return;
  try {
    m_run->markDone(m_entryId, *state);
  } catch (const lc::CatalogError& error) {
    m_report.notes.push_back(error.failure.message);
  }
}

}  // namespace

LCTagReport lc::tagFile(const LCTagEdit& edit, const LCTagOptions& options, JournaledRun* run) {
  return FileTagging(edit, options, run).report();
}
