// A host that takes nothing of this project but the interfaces: it brings its own allocator, logger and string factory,
// loads both module libraries, writes a document and reads it back.
//
// Usage: plain_host FOLDER FILE.db, with the folder of the libraries and a file that a document "Doc" is added to, both
// named in ASCII. Whatever does not go well ends it with a message and exit code 1.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "karst/KaDatabase.h"
#include "karst/KaDom.h"
#include "karst/KaDomAttribute.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaDomDocument.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "karst/KaHost.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

using namespace karst;
using Text = std::basic_string<KaChar>;

void Require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "plain_host: %s\n", what);
  std::exit(EXIT_FAILURE);
}

class PlainHost final : public KaHost, private KaLogger, private KaStringFactory {
 public:
  void* Allocate(uint64_t size) override { return std::malloc(static_cast<size_t>(size)); }
  void Free(void* block) override { std::free(block); }
  KaModule* GetModule(const char* name, int32_t version) override {
    return std::string(name) == "KaDatabase" && version == 101 ? database : nullptr;
  }
  KaStringFactory* GetStringFactory() override { return this; }
  KaLogger* GetLogger() override { return this; }

  KaModule* database = nullptr;

 private:
  void Log(int32_t, int32_t, const char* format, ...) override KA_PRINTF_LIKE(4, 5) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
  }
  bool CreateString(const KaChar*, KaString**) override { return false; }  // no module needs it
  // As UTF-8, in a block of this host. One that stores names beyond ASCII converts them properly.
  bool ToMultiByte(const KaChar* text, uint32_t codePage, char** out) override {
    std::string bytes;
    for (; *text != 0 && *text < 0x80; ++text) bytes += static_cast<char>(*text);
    void* block = *text == 0 && codePage == kCodePageUtf8 ? Allocate(bytes.size() + 1) : nullptr;
    if (block == nullptr) return false;
    std::memcpy(block, bytes.c_str(), bytes.size() + 1);
    *out = static_cast<char*>(block);
    return true;
  }

  void Unlisted0() override {}
  void Unlisted1() override {}
  void Unlisted2() override {}
  void Unlisted3() override {}
  void Unlisted4() override {}
  void Unlisted7() override {}
  void Unlisted8() override {}
  void Unlisted9() override {}
  void Unlisted11() override {}
};

KaModule* Load(const std::string& folder, const std::string& name) {
#if defined(_WIN32)
  const HMODULE library = LoadLibraryA((folder + "\\" + name + "-v101-x64.dll").c_str());
  Require(library != nullptr, "a library does not load");
  void* symbol = reinterpret_cast<void*>(GetProcAddress(library, "KaGetModule"));
#else
  void* library = dlopen((folder + "/" + name + "-v101-x64.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  Require(library != nullptr, "a library does not load");
  void* symbol = dlsym(library, "KaGetModule");
#endif
  Require(symbol != nullptr, "a library has no KaGetModule");
  KaModule* module = reinterpret_cast<KaGetModuleFunction>(symbol)();
  Require(module != nullptr && module->GetVersion() == 101, "a library has no module of version 101");
  return module;
}

// Gives every reference back that it is handed.
void UseDatabase(KaDom* dom, const Text& path) {
  KaDomDatabase* database = nullptr;
  KaDomDocument* document = nullptr;
  KaDomDocumentEditor* editor = nullptr;
  KaDomElementEditor* writer = nullptr;
  KaDomElement* root = nullptr;
  KaDomAttribute* title = nullptr;
  const KaChar* text = nullptr;
  Require(dom->OpenDatabase(path.c_str(), &database), "OpenDatabase");
  Require(database->CreateDocument(KA_TEXT("Doc"), KA_TEXT("Root"), &document), "CreateDocument");
  Require(document->OpenEditor(&editor) && editor->OpenElementEditor(1, &writer), "OpenElementEditor");
  Require(writer->SetText(KA_TEXT("title"), KA_TEXT("first")) && writer->Commit() && editor->Commit(), "Commit");
  Require(document->GetRootElement(&root) && root->GetFirstAttribute(&title) && title->GetText(&text), "GetText");
  const Text seen = Text(root->GetName()) + KA_TEXT(" ") + title->GetName() + KA_TEXT("=") + text;
  Require(seen == KA_TEXT("Root title=first"), "what was read is not what was written");
  for (KaSmart* object : std::initializer_list<KaSmart*>{title, root, writer, editor, document}) object->Release();
  Require(database->RefCount() == 1, "somebody still holds the database");
  database->Release();
}

}  // namespace

int main(int argc, char** argv) {
  Require(argc == 3, "usage: plain_host FOLDER FILE.db");
  PlainHost host;
  host.database = Load(argv[1], "KaDatabase");
  auto* dom = dynamic_cast<KaDom*>(Load(argv[1], "KaDom"));
  Require(dom != nullptr, "the module KaDom is not a KaDom");
  host.database->Attach(&host);
  dom->Attach(&host);
  const std::string file = argv[2];
  UseDatabase(dom, Text(file.begin(), file.end()));
  dom->Detach();
  host.database->Detach();
  std::printf("%s: \"Doc\", Root title=first\n", argv[2]);
  return EXIT_SUCCESS;
}
