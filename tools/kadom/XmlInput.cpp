#include "tools/kadom/XmlInput.h"

#include <expat.h>

#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "common/PathText.h"
#include "tools/kadom/EntityCheck.h"
#include "tools/kadom/Failure.h"
#include "tools/kadom/InputFile.h"
#include "tools/kadom/SurrogateJoiner.h"

namespace karst::tool {

namespace {

static_assert(sizeof(XML_Char) == 1, "Expat hands out UTF-8");

constexpr size_t kChunkSize = size_t{64} * 1024;

// Whether a stream that begins with `start` can be an XML export of KaDom: plain UTF-8, nothing declared.
bool MayHoldSplitPairs(std::string_view start) {
  for (const std::string_view other :
       {"<?xml ", "<?xml\t", "<?xml\r", "<?xml\n", "\xEF\xBB\xBF", "\xFE\xFF", "\xFF\xFE"}) {
    if (start.starts_with(other)) return false;
  }
  return !start.starts_with(std::string_view("\0<", 2)) && !start.starts_with(std::string_view("<\0", 2));
}

class Reader {
 public:
  Reader(const std::filesystem::path& inputPath, XmlReceiver& target)
      : path(inputPath), receiver(target), parser(XML_ParserCreate(nullptr)) {
    if (parser == nullptr) throw Failure("out of memory");
    XML_SetUserData(parser.get(), this);
    XML_SetElementHandler(parser.get(), OnStart, OnEnd);
    XML_SetCharacterDataHandler(parser.get(), OnText);
    XML_SetCommentHandler(parser.get(), OnComment);
    XML_SetProcessingInstructionHandler(parser.get(), OnInstruction);
    XML_SetStartDoctypeDeclHandler(parser.get(), OnDoctype);
    XML_SetEntityDeclHandler(parser.get(), OnEntityDeclaration);
    XML_SetSkippedEntityHandler(parser.get(), OnSkippedEntity);
    XML_SetExternalEntityRefHandler(parser.get(), OnExternalEntity);
    XML_SetDefaultHandlerExpand(parser.get(), OnMarkup);
    // Parameter entities that the document itself defines may declare further entities.
    XML_SetParamEntityParsing(parser.get(), XML_PARAM_ENTITY_PARSING_UNLESS_STANDALONE);
  }

  XmlExtras Read(InputFile& file, const ReadProgress& progress) {
    uint64_t total = 0;
    bool isLast = false;
    while (!isLast) {
      char* buffer = static_cast<char*>(XML_GetBuffer(parser.get(), SurrogateJoiner::kMaxHeld + kChunkSize));
      if (buffer == nullptr) throw ParserFailure();
      const size_t size = file.Read(buffer + SurrogateJoiner::kMaxHeld, kChunkSize);
      if (total == 0) joinsPairs = MayHoldSplitPairs({buffer + SurrogateJoiner::kMaxHeld, size});
      total += size;
      isLast = size == 0;
      Parse(buffer, size, isLast);
      progress(total, file.Size());
    }
    return extras;
  }

 private:
  struct Free {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  void Parse(char* buffer, size_t size, bool isLast) {
    if (joinsPairs) {
      size = joiner.Filter(buffer, size, isLast);
    } else {
      std::memmove(buffer, buffer + SurrogateJoiner::kMaxHeld, size);
    }
    const XML_Status status = XML_ParseBuffer(parser.get(), static_cast<int>(size), isLast);
    if (failure) std::rethrow_exception(failure);
    if (status != XML_STATUS_OK) throw ParserFailure();
  }

  // A failure at the place where the parser stands.
  Failure At(const std::string& reason) const {
    return Failure(common::PathText(path) + ":" + std::to_string(XML_GetCurrentLineNumber(parser.get())) + ":" +
                   std::to_string(XML_GetCurrentColumnNumber(parser.get()) + 1) + ": " + reason);
  }

  Failure ParserFailure() const { return At(XML_ErrorString(XML_GetErrorCode(parser.get()))); }

  // Runs a step of a handler. The parser is C code, so what the step throws waits until the parser has returned.
  template <class Step>
  static void Run(void* user, Step step) {
    auto* reader = static_cast<Reader*>(user);
    if (reader->failure) return;
    try {
      step(*reader);
    } catch (...) {
      reader->failure = std::current_exception();
      XML_StopParser(reader->parser.get(), XML_FALSE);
    }
  }

  void CheckReferences() {
    markup.clear();
    collectsMarkup = true;
    XML_DefaultCurrent(parser.get());
    collectsMarkup = false;
    if (markup.find('&') == markup.npos) return;
    if (const auto name = entities.FindUndeclared(markup)) throw At("undefined entity &" + *name + ";");
  }

  static void XMLCALL OnStart(void* user, const XML_Char* name, const XML_Char** attributes) {
    Run(user, [&](Reader& reader) {
      if (reader.hasDoctype && attributes[0] != nullptr) reader.CheckReferences();
      reader.receiver.StartElement(name, attributes);
    });
  }

  static void XMLCALL OnEnd(void* user, const XML_Char*) {
    Run(user, [](Reader& reader) { reader.receiver.EndElement(); });
  }

  static void XMLCALL OnText(void* user, const XML_Char* text, int length) {
    Run(user, [&](Reader& reader) { reader.receiver.AddText({text, static_cast<size_t>(length)}); });
  }

  static void XMLCALL OnComment(void* user, const XML_Char*) { ++static_cast<Reader*>(user)->extras.comments; }

  static void XMLCALL OnInstruction(void* user, const XML_Char*, const XML_Char*) {
    ++static_cast<Reader*>(user)->extras.instructions;
  }

  static void XMLCALL OnDoctype(void* user, const XML_Char*, const XML_Char*, const XML_Char*, int) {
    static_cast<Reader*>(user)->hasDoctype = true;
  }

  static void XMLCALL OnEntityDeclaration(void* user, const XML_Char* name, int isParameter, const XML_Char* value,
                                          int length, const XML_Char*, const XML_Char*, const XML_Char*,
                                          const XML_Char*) {
    if (isParameter || value == nullptr) return;
    Run(user, [&](Reader& reader) { reader.entities.Declare(name, {value, static_cast<size_t>(length)}); });
  }

  static void XMLCALL OnSkippedEntity(void* user, const XML_Char* name, int isParameter) {
    if (isParameter) return;
    Run(user, [&](Reader& reader) { throw reader.At("undefined entity &" + std::string(name) + ";"); });
  }

  // Without a context it is about declarations, which may go unread; with one it is about content.
  static int XMLCALL OnExternalEntity(XML_Parser parser, const XML_Char* context, const XML_Char*,
                                      const XML_Char* systemId, const XML_Char*) {
    if (context == nullptr) return XML_STATUS_OK;
    Run(XML_GetUserData(parser), [&](Reader& reader) {
      throw reader.At("the entity in the other file \"" + std::string(systemId != nullptr ? systemId : "") +
                      "\" is not read");
    });
    return XML_STATUS_ERROR;
  }

  static void XMLCALL OnMarkup(void* user, const XML_Char* text, int length) {
    Run(user, [&](Reader& reader) {
      if (reader.collectsMarkup) reader.markup.append(text, static_cast<size_t>(length));
    });
  }

  const std::filesystem::path& path;
  XmlReceiver& receiver;
  std::unique_ptr<XML_ParserStruct, Free> parser;
  XmlExtras extras;
  EntityCheck entities;
  SurrogateJoiner joiner;
  bool joinsPairs = false;
  bool hasDoctype = false;
  bool collectsMarkup = false;
  std::string markup;  // of the start tag that is being checked
  std::exception_ptr failure;
};

}  // namespace

XmlExtras ReadXml(InputFile& file, const std::filesystem::path& path, XmlReceiver& receiver,
                  const ReadProgress& progress) {
  return Reader(path, receiver).Read(file, progress);
}

}  // namespace karst::tool
