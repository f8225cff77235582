#include "tools/kadom/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <functional>
#include <memory>

#include "common/PathText.h"
#include "tools/kadom/Value.h"
#include "tools/kadom/commands/Commands.h"

#if defined(_WIN32)
#include <windows.h>
// After windows.h:
#include <shellapi.h>
#endif

namespace karst::tool {

namespace {

// Values that CLI11 would take for options ("-.5", "-inf") or for lists ("[a,b]") pass through it behind this mark.
constexpr char kMark = '\x1f';

bool NeedsMark(const std::string& argument) {
  if (argument.starts_with('[')) return true;
  if (argument.size() < 2 || argument[0] != '-') return false;
  const char next = static_cast<char>(std::tolower(static_cast<unsigned char>(argument[1])));
  return next == '.' || (argument.size() > 3 && (next == 'i' || next == 'n'));
}

std::string WithoutMark(std::string argument) {
  if (argument.starts_with(kMark)) argument.erase(0, 1);
  return argument;
}

// What the user asked for.
struct Request {
  Target target;
  std::string file;
  std::string xmlFile;
  std::string attribute;
  TreeLimits limits;
  NewValue value;
};

CLI::Option* AddPositional(CLI::App& command, const std::string& name, std::string& text, const std::string& help) {
  return command.add_option(name, text, help)->transform(WithoutMark, "")->type_name("");
}

CLI::App& AddCommand(CLI::App& app, const std::string& name, const std::string& help, Request& request,
                     std::function<void()> run) {
  CLI::App& command = *app.add_subcommand(name, help);
  AddPositional(command, "FILE", request.file, "The DOM database file")->required();
  command.callback([&request, run = std::move(run)] {
    request.target.file = common::PathFromText(request.file);
    run();
  });
  return command;
}

void AddDocument(CLI::App& command, Request& request) {
  AddPositional(command, "DOCUMENT", request.target.document, "The name of the document")->required();
}

void AddElement(CLI::App& command, Request& request) {
  AddDocument(command, request);
  command.add_option("ID", request.target.element, "The id of the element; the root is 1, tree shows the others")
      ->required()
      ->type_name("");
}

void AddImport(CLI::App& app, Request& request) {
  CLI::App& command = AddCommand(app, "import", "Store an XML file as a new document", request,
                                 [&] { Import(request.target, common::PathFromText(request.xmlFile)); });
  AddDocument(command, request);
  AddPositional(command, "INPUT", request.xmlFile, "The XML file")->required();
  command.footer(
      "FILE is created when it does not exist. When the import fails, it stays as it was.\n"
      "XML attributes become Text attributes. An element that holds only text keeps it as its attribute _text; in "
      "mixed\n"
      "content each run of text becomes a child element _text. Comments and processing instructions are skipped.");
}

void AddExport(CLI::App& app, Request& request) {
  CLI::App& command = AddCommand(app, "export", "Write a document as XML", request,
                                 [&] { Export(request.target, common::PathFromText(request.xmlFile)); });
  AddDocument(command, request);
  AddPositional(command, "OUTPUT", request.xmlFile, "The XML file; standard output when it is left out");
  command.footer("Texts and arrays of 32-bit integers are written; values of other types have no form in XML.");
}

void AddList(CLI::App& app, Request& request) {
  AddCommand(app, "ls", "List the documents: id, tab, name", request, [&] { List(request.target); });
}

void AddTree(CLI::App& app, Request& request) {
  CLI::App& command = AddCommand(app, "tree", "Show the elements of a document", request,
                                 [&] { Tree(request.target, request.limits); });
  AddDocument(command, request);
  command.add_option("--depth", request.limits.depth, "Show N levels; 1 is the root alone")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  command.add_option("--limit", request.limits.lines, "Show N elements")->type_name("N")->check(CLI::PositiveNumber);
  command.footer(
      "One element a line: its name, #id, and its attributes: texts in quotation marks, numbers bare, arrays in\n"
      "brackets, units in braces. \"…\" marks what is not shown.");
}

void AddGet(CLI::App& app, Request& request) {
  CLI::App& command = AddCommand(app, "get", "Show the attributes of an element", request,
                                 [&] { Get(request.target, request.attribute); });
  AddElement(command, request);
  AddPositional(command, "NAME", request.attribute, "One attribute; all of them when it is left out");
  command.footer(
      "Without NAME one attribute a line: NAME: TYPE [unit N] = VALUE, texts in quotation marks and with escapes.\n"
      "With NAME the value alone, just as set takes it: a text as it is, numbers separated by blanks.");
}

void AddSet(CLI::App& app, Request& request) {
  CLI::App& command = AddCommand(app, "set", "Set an attribute of an element", request,
                                 [&] { Set(request.target, request.attribute, request.value); });
  AddElement(command, request);
  AddPositional(command, "NAME", request.attribute, "The attribute; one that exists is replaced, whatever its type")
      ->required();
  command
      .add_option("VALUE", request.value.arguments, "The text, or the numbers: several, or one with blanks or commas")
      ->required()
      ->transform(WithoutMark, "")
      ->type_name("");
  command.add_option("--type", request.value.type, "The type of the value")->required()->type_name("T");
  command.add_option("--unit", request.value.unit, "The unit code of a number or an array; 0 when it is left out")
      ->type_name("N");
  command.footer(
      "Types, in any case of letters:\n  " + TypeNames("\n  ") +
      "\n"
      "Arrays of tuples take all numbers in one row. inf and nan are numbers. A text that begins with a hyphen\n"
      "comes after all options and \"--\".");
}

void AddUnset(CLI::App& app, Request& request) {
  CLI::App& command = AddCommand(app, "unset", "Remove an attribute of an element", request,
                                 [&] { Unset(request.target, request.attribute); });
  AddElement(command, request);
  AddPositional(command, "NAME", request.attribute, "The attribute")->required();
}

}  // namespace

std::vector<std::string> ProgramArguments(int argc, char** argv) {
  std::vector<std::string> arguments;
#if defined(_WIN32)
  // The narrow arguments have lost what the code page cannot express.
  static_cast<void>(argv);
  const std::unique_ptr<LPWSTR, decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &argc), LocalFree);
  for (int i = 1; i < argc; ++i) arguments.push_back(common::ToUtf8(wide.get()[i]).value_or("?"));
#else
  for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
#endif
  return arguments;
}

int RunCommandLine(std::vector<std::string> arguments) {
  CLI::App app("kadom looks into DOM database files, edits them, and carries XML into them and out again.", "kadom");
  Request request;
  app.set_version_flag("--version", "kadom " KADOM_VERSION, "Print the version and end");
  app.add_flag("--verbose", request.target.verbose, "Print what the modules log to standard error");
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "kadom: " + OneLine(error.what()) + " (--help says more)\n";
  });
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(
      "Examples:\n"
      "  kadom import parts.db catalogue catalogue.xml\n"
      "  kadom tree parts.db catalogue --depth 3\n"
      "  kadom set parts.db catalogue 7 size 2.5 4 -1 --type DoubleArray3 --unit 12\n"
      "  kadom export parts.db catalogue copy.xml\n"
      "kadom COMMAND --help says more about a command.");
  AddImport(app, request);
  AddExport(app, request);
  AddList(app, request);
  AddTree(app, request);
  AddGet(app, request);
  AddSet(app, request);
  AddUnset(app, request);

  for (std::string& argument : arguments) {
    if (NeedsMark(argument)) argument.insert(argument.begin(), kMark);
  }
  std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }
  return 0;
}

}  // namespace karst::tool
