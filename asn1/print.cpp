// Values as text, by descriptor: braces and names for structures, the primitive types' own
// print routines for the rest.
#include "asn1/codec.h"
#include "asn1/member_access.h"

namespace qex {
namespace {

constexpr unsigned kIndentStep = 4;

// An inline open type is always printed: its absence shows as a malformed value.
[[nodiscard]] bool is_printed(const Field& f, const void* v) {
  if (v == nullptr) return false;
  if (f.held == Held::Pointer || f.need == Need::Mandatory || f.type->kind == Kind::Any) return true;
  return !f.type->codec->absent(v);
}

void print_indent(FILE* f, unsigned indent) {
  std::fprintf(f, "%*s", int(indent), "");
}

void print_end(FILE* f, unsigned indent) {
  std::fputc('\n', f);
  print_indent(f, indent);
  std::fputc('}', f);
}

void print_record(const Type& t, FILE* f, const void* v, unsigned indent) {
  std::fputs(t.kind == Kind::Set ? "{ -- SET --\n" : "{ -- SEQUENCE --\n", f);
  const char* separator = "";
  for (const Field& field : t.fields) {
    const void* fieldValue = ValueOf(v, field);
    if (!is_printed(field, fieldValue)) continue;
    std::fputs(separator, f);
    separator = ",\n";
    print_indent(f, indent + kIndentStep);
    std::fprintf(f, "%s ", field.name);
    PrintValue(*field.type, f, fieldValue, indent + kIndentStep);
  }
  print_end(f, indent);
}

void print_list(const Type& t, FILE* f, const AsnList* list, unsigned indent) {
  const Type& element = t.kind == Kind::OpenList ? kAsnAny : *t.element;
  std::fputs(t.tag == 0x31000000 ? "{ -- SET OF -- \n" : "{ -- SEQUENCE OF -- \n", f);
  for (const AsnListNode* p = list->first; p != nullptr; p = p->next) {
    print_indent(f, indent + kIndentStep);
    PrintValue(element, f, p->data[0], indent + kIndentStep);
    if (p != list->last) std::fputs(",\n", f);
  }
  print_end(f, indent);
}

}  // namespace

void PrintValue(const Type& t, FILE* f, const void* v, unsigned indent) {
  if (v == nullptr) return;
  switch (t.kind) {
    case Kind::Primitive: t.codec->print(f, v, indent); return;
    case Kind::Any: PrintAny(f, static_cast<const AsnAny*>(v), indent); return;
    case Kind::Sequence:
    case Kind::Set: print_record(t, f, v, indent); return;
    case Kind::ListOf:
    case Kind::OpenList: print_list(t, f, static_cast<const AsnList*>(v), indent); return;
    case Kind::Choice: {
      const Field& alternative = t.fields[size_t(*static_cast<const AsnInt*>(v))];
      std::fprintf(f, "%s ", alternative.name);
      PrintValue(*alternative.type, f, ValueOf(v, alternative), indent);
      return;
    }
  }
}

}  // namespace qex
