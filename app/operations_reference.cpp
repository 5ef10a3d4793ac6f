#include "app/operations_reference.h"

#include "app/operations.h"

namespace movra::app {
namespace {

constexpr char kIntroduction[] =
    R"(# The producer's operations as data

What drives a producer by data calls these operations; [producer.md](producer.md) explains what they
do. This page is made from the table in `app/operations.h`, and a test holds it equal.

A call is a name and an object with the arguments. Names of operations are those of C++ in snake
case; names of enumerations are those of the sources in snake case without the k, as in
`"preview_with_watermark"`. An argument that is left out has the value that the tables here give;
one that is absent is not handed to the producer at all. Fields of an object are written with a dot,
those of a list's objects with `[]`.

Every call has one answer. It is `null` where nothing else is said here. An operation that answers
through a callback answers when that runs, or `{"dropped": true}` where the producer drops it. A call
that cannot be made is answered by a text that says what was wrong and what would be right, and the
producer is not called. After `uninitialize` only those operations may be called that say so.

Objects are written as texts:

| Object | Text |
|---|---|
| writer of an encoded stream | a file, `"-"` or `"-.ts"` for standard output, or an address |
| source of pushed frames | a source id: `"test:"`, `"file:PATH"`, `"/dev/video0"` |
| view | `"window"`, `"x11:ID"` with the number of a window, or null |
| picture | a picture file, or `"#rrggbb"` for one colour |
| listener | `"invert"`, `"drop:N"` to drop every Nth frame, `"sleep:MS"` to take so long |
| writer of tapped frames | a file |
| client | `"recorder"`, or null |

A text means the same object for as long as that is in use: a writer until its encoder is stopped, a
tap or a listener until it is removed, a source until another one is set.
)";

void AppendArguments(const std::vector<Argument>& arguments, const std::string& prefix,
                     std::string& text) {
  for (const Argument& argument : arguments) {
    const std::string name = prefix + argument.name;
    std::string otherwise = "required";
    if (!argument.required) {
      otherwise = argument.default_value ? "`" + argument.default_value->dump() + "`" : "absent";
    }
    text.append("| `").append(name).append("` | ").append(ValueText(argument));
    text.append(" | ").append(otherwise).append(" | ").append(argument.help).append(" |\n");
    const bool is_list = argument.kind == ArgumentKind::kRecordList;
    AppendArguments(argument.fields, name + (is_list ? "[]." : "."), text);
  }
}

void AppendOperation(const Operation& operation, std::string& text) {
  text += "\n### `" + operation.name + "`\n\n" + operation.help;
  if (operation.answer != "null") text += " Answers " + operation.answer + ".";
  if (operation.after_uninitialize) text += " Also after `uninitialize`.";
  text += "\n";
  if (operation.arguments.empty()) return;
  text += "\n| Argument | Value | If left out | Meaning |\n|---|---|---|---|\n";
  AppendArguments(operation.arguments, "", text);
}

}  // namespace

std::string OperationsReference() {
  std::string text = kIntroduction;
  for (const OperationGroup& group : OperationTable()) {
    text += "\n## " + group.title + "\n";
    for (const Operation& operation : group.operations) AppendOperation(operation, text);
  }
  return text;
}

}  // namespace movra::app
