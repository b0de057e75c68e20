#include "catalog/IndexingRun.h"

#include "catalog/CatalogError.h"
#include "database/DatabaseFacts.h"
#include "database/LCTransaction.h"
#include "indexing/EndOfRun.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/Notifications.h"

#include <fmt/format.h>

#include <random>

namespace {

std::string newName() {
  std::random_device random;
  std::string name;
  for (int part = 0; part < 4; ++part) name += fmt::format("{:08x}", random());
  return name;
}

}  // namespace

lc::IndexingRun::IndexingRun(LCFileIndexing& indexer, Kind kind)
    : m_indexer(indexer),
      m_kind(kind),
      m_name(newName()),
      m_touched(indexer),
      m_worksOnAll(!facts::lastScan(indexer.sqlite3Connection()) || facts::unfinishedRun(indexer.sqlite3Connection())) {
}

// Others may have begun since, or have finished what they began.
void lc::IndexingRun::claim() {
  const auto unfinished = facts::unfinishedRun(m_indexer.sqlite3Connection());
  if (unfinished && *unfinished != m_name) m_worksOnAll = true;
  if (m_worksOnAll) {
    m_touched.stop();
  } else if (!m_hasClaimed) {
    m_touched.watch();
  } else {
    m_touched.stopWhenMany();
  }
  m_hasClaimed = true;
  if (unfinished != m_name && !writeNote()) {
    throw CatalogError{{.kind = LCFailureKind::databaseRefused, .message = "the loop database cannot be written"}};
  }
}

bool lc::IndexingRun::writeNote() {
  sqlite3* connection = m_indexer.sqlite3Connection();
  return facts::setUnfinishedRun(m_name, connection) &&
         (m_kind != Kind::scan || facts::setLastScan(m_name, connection));
}

// Not that of a run which has written meanwhile.
bool lc::IndexingRun::clearNote() {
  sqlite3* connection = m_indexer.sqlite3Connection();
  return facts::unfinishedRun(connection) != m_name || facts::setUnfinishedRun(std::nullopt, connection);
}

void lc::IndexingRun::finish() {
  if (!hasWork()) return;
  const bool isDone = finishWith([this] { return finishTouched(); }) || finishWith([this] {
                        doEndOfRunWork(m_indexer);
                        return true;
                      });
  if (!isDone) vesk::log("the end-of-run work in the loop database is left to the next run");
  vesk::NotificationCenter::shared().postOnMainThread(LCFileIndexingDidFinishNotification);
}

template <typename Work>
bool lc::IndexingRun::finishWith(Work work) {
  LCTransaction transaction(m_indexer.sqlite3Connection(), LCTransaction::Begin::immediately);
  if (!transaction.isOpen()) return false;
  claim();
  return work() && clearNote() && transaction.commit();
}

bool lc::IndexingRun::finishTouched() {
  if (!m_touched.finish()) return false;
  m_indexer.removeEmptyCrates();
  return true;
}
