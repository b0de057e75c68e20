#include "FoldersCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "Output.h"
#include "TerminalText.h"
#include "VeskLoopManagement/catalog/LCLibraryFolders.h"

#include <memory>

namespace {

struct FoldersArguments {
  std::vector<std::string> added;
  std::vector<std::string> removed;
};

int runFolders(Context& context, const FoldersArguments& arguments) {
  Output& output = context.output;
  LCLibraryFolders folders(databaseFile(context));
  for (const auto& path : arguments.added) valueOf(folders.add(absolutePath(path)));
  for (const auto& path : arguments.removed) valueOf(folders.remove(absolutePath(path)));
  output.beginDocument("veskloops.folders/1");
  output.beginList("folders");
  for (const auto& path : folders.list()) {
    JSON object = JSON::object();
    addPath(object, path, vesk::URL::fileURLWithPath(path, true).absoluteString());
    output.item(object);
    if (output.resultIsOnTerminal()) {
      output.text(printable(path));
    } else {
      output.rawText(path + '\n');
    }
  }
  output.endList();
  output.endDocument();
  return kExitDone;
}

}  // namespace

CommandRunner addFoldersCommand(CLI::App& app) {
  auto arguments = std::make_shared<FoldersArguments>();
  app.add_subcommand("list", "List the remembered folders, as folders alone does")->fallthrough();
  auto* add = app.add_subcommand("add", "Remember folders without indexing them")->fallthrough();
  addArguments(*add, "DIR", arguments->added, "The folders")->required();
  auto* remove = app.add_subcommand("remove", "Forget folders; their loops stay in the database")->fallthrough();
  addArguments(*remove, "DIR", arguments->removed, "The folders")->required();
  app.require_subcommand(0, 1);
  return [arguments](Context& context) { return runFolders(context, *arguments); };
}
