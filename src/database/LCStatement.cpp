#include "VeskLoopManagement/database/LCStatement.h"

#include <sqlite3.h>

void LCStatement::Finalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

LCStatement::LCStatement(sqlite3* connection, std::string_view sql) {
  m_status = SQLITE_MISUSE;
  if (connection == nullptr) return;
  sqlite3_stmt* statement = nullptr;
  m_status = sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
  m_statement.reset(statement);
}

LCStatement& LCStatement::preparedOnce(sqlite3* connection, std::string_view sql) {
  if (!m_statement) *this = LCStatement(connection, sql);
  return *this;
}

bool LCStatement::bind(int index, int64_t value) {
  return m_statement && sqlite3_bind_int64(m_statement.get(), index, value) == SQLITE_OK;
}

bool LCStatement::bind32(int index, int64_t value) {
  return m_statement && sqlite3_bind_int(m_statement.get(), index, static_cast<int32_t>(value)) == SQLITE_OK;
}

bool LCStatement::bind(int index, double value) {
  return m_statement && sqlite3_bind_double(m_statement.get(), index, value) == SQLITE_OK;
}

bool LCStatement::bind(int index, std::string_view text) {
  if (!m_statement) return false;
  const char* bytes = text.data() ? text.data() : "";  // a null pointer would bind NULL
  return sqlite3_bind_text64(m_statement.get(), index, bytes, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8) == SQLITE_OK;
}

bool LCStatement::bind(int index, const std::string& text) {
  return bind(index, std::string_view(text));
}

bool LCStatement::bind(int index, const char* text) {
  return bind(index, std::string_view(text ? text : ""));
}

bool LCStatement::bind(int index, const std::optional<std::string>& text) {
  if (text) return bind(index, *text);
  return m_statement && index >= 1 && index <= sqlite3_bind_parameter_count(m_statement.get());
}

bool LCStatement::bindBlob(int index, std::span<const std::byte> bytes) {
  if (!m_statement) return false;
  const void* first = bytes.empty() ? "" : static_cast<const void*>(bytes.data());  // a null pointer would bind NULL
  return sqlite3_bind_blob64(m_statement.get(), index, first, bytes.size(), SQLITE_STATIC) == SQLITE_OK;
}

void LCStatement::clearBindings() {
  if (m_statement) sqlite3_clear_bindings(m_statement.get());
}

bool LCStatement::step() {
  m_status = m_statement ? sqlite3_step(m_statement.get()) : SQLITE_MISUSE;
  return m_status == SQLITE_ROW;
}

bool LCStatement::succeeded() const {
  return m_status == SQLITE_DONE;
}

bool LCStatement::run() {
  while (step()) {
  }
  reset();
  return succeeded();
}

void LCStatement::reset() {
  if (m_statement) sqlite3_reset(m_statement.get());
}

int LCStatement::columnCount() const {
  return m_statement ? sqlite3_column_count(m_statement.get()) : 0;
}

std::string LCStatement::columnName(int column) const {
  const char* name = m_statement ? sqlite3_column_name(m_statement.get(), column) : nullptr;
  return name ? name : "";
}

bool LCStatement::isNull(int column) const {
  return !m_statement || sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

int64_t LCStatement::int64At(int column) const {
  return m_statement ? sqlite3_column_int64(m_statement.get(), column) : 0;
}

double LCStatement::doubleAt(int column) const {
  return m_statement ? sqlite3_column_double(m_statement.get(), column) : 0.0;
}

std::string LCStatement::textAt(int column) const {
  if (!m_statement) return {};
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
  if (bytes == nullptr) return {};
  return std::string(bytes, static_cast<size_t>(sqlite3_column_bytes(m_statement.get(), column)));
}

std::vector<std::byte> LCStatement::blobAt(int column) const {
  if (!m_statement) return {};
  const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(m_statement.get(), column));
  if (bytes == nullptr) return {};
  return {bytes, bytes + sqlite3_column_bytes(m_statement.get(), column)};
}
