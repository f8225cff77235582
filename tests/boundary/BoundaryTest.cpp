// A host that shares nothing with the modules but the interfaces: it loads both libraries, writes a document and reads
// it back.
//
// Usage: boundary_test FOLDER FILE. Whatever does not go well ends it with a message and exit code 1.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "boundary test: %s\n", what);
  std::exit(EXIT_FAILURE);
}

void Require(bool condition, const char* what) {
  if (!condition) Fail(what);
}

// A reference of this program's own.
template <class Object>
class Held {
 public:
  ~Held() {
    if (object != nullptr) object->Release();
  }
  Object** Out() { return &object; }
  Object* operator->() { return object; }

 private:
  Object* object = nullptr;
};

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
  void Log(int32_t level, int32_t, const char* format, ...) override KA_PRINTF_LIKE(4, 5) {
    va_list arguments;
    va_start(arguments, format);
    std::fprintf(stderr, "log %d: ", level);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
  }
  bool CreateString(const KaChar*, KaString**) override { return false; }  // no module needs it
  bool ToMultiByte(const KaChar* text, uint32_t, char** out) override {
    const std::string ascii(text, text + Text(text).size());
    *out = static_cast<char*>(std::malloc(ascii.size() + 1));
    std::memcpy(*out, ascii.c_str(), ascii.size() + 1);
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
  if (library == nullptr) Fail(dlerror());
  void* symbol = dlsym(library, "KaGetModule");
#endif
  Require(symbol != nullptr, "a library has no KaGetModule");
  KaModule* module = reinterpret_cast<KaGetModuleFunction>(symbol)();
  Require(module != nullptr && module->GetVersion() == 101, "a library has no module of version 101");
  return module;
}

void WriteDocument(KaDomDatabase* database) {
  Held<KaDomDocument> document;
  Held<KaDomDocumentEditor> editor;
  Held<KaDomElementEditor> root, item;
  int64_t id = 0;
  Require(database->CreateDocument(KA_TEXT("Doc"), KA_TEXT("Root"), document.Out()), "CreateDocument");
  Require(document->OpenEditor(editor.Out()), "OpenEditor");
  Require(editor->CreateElement(KA_TEXT("Item"), &id), "CreateElement");
  Require(editor->OpenElementEditor(1, root.Out()), "OpenElementEditor");
  Require(root->AppendChild(id) && root->Commit(), "AppendChild");
  Require(editor->OpenElementEditor(id, item.Out()), "a second OpenElementEditor");
  Require(item->SetText(KA_TEXT("title"), KA_TEXT("first")) && item->Commit(), "SetText");
  Require(editor->Commit(), "Commit");
}

void ReadDocument(KaDomDatabase* database) {
  Held<KaDomDocument> document;
  Held<KaDomElement> root, item;
  Held<KaDomAttribute> title;
  const KaChar* text = nullptr;
  Require(database->OpenDocument(KA_TEXT("Doc"), document.Out()), "OpenDocument");
  Require(document->GetRootElement(root.Out()) && root->GetFirstChild(item.Out()), "GetFirstChild");
  Require(item->GetFirstAttribute(title.Out()) && title->GetText(&text), "GetFirstAttribute");
  const Text seen =
      Text(root->GetName()) + KA_TEXT("/") + item->GetName() + KA_TEXT(" ") + title->GetName() + KA_TEXT("=") + text;
  Require(seen == KA_TEXT("Root/Item title=first"), "what was read is not what was written");
}

}  // namespace

int main(int argc, char** argv) {
  Require(argc == 3, "usage: boundary_test FOLDER FILE");
  std::remove(argv[2]);
  PlainHost host;
  host.database = Load(argv[1], "KaDatabase");
  auto* dom = dynamic_cast<KaDom*>(Load(argv[1], "KaDom"));
  Require(dom != nullptr, "the module KaDom is not a KaDom");
  host.database->Attach(&host);
  dom->Attach(&host);

  const Text path(argv[2], argv[2] + std::strlen(argv[2]));
  for (const bool writing : {true, false}) {
    KaDomDatabase* database = nullptr;
    Require(dom->OpenDatabase(path.c_str(), &database), "OpenDatabase");
    if (writing) WriteDocument(database);
    if (!writing) ReadDocument(database);
    Require(database->RefCount() == 1, "somebody still holds the database");
    database->Release();
  }

  dom->Detach();
  host.database->Detach();
  std::remove(argv[2]);
  return EXIT_SUCCESS;
}
