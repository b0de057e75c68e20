// The help of the program and of its commands: what they take, their options, and an example each.
#pragma once

#include <CLI/App.hpp>

#include <cstddef>
#include <string>

class HelpFormatter : public CLI::FormatterBase {
 public:
  explicit HelpFormatter(size_t width) : m_width(width) {}  // columns of a line

  // `name` is that of the program with the commands behind it.
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;

 private:
  std::string entry(const std::string& left, const std::string& text) const;
  std::string paragraph(const std::string& text) const;
  std::string arguments(const CLI::App& app, const std::string& note) const;
  std::string options(const CLI::App& app) const;
  std::string commands(const CLI::App& app) const;

  size_t m_width;
};
