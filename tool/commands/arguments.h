// Rules for every command line: no option has an empty value, and no password remains visible.
#pragma once

namespace CLI {
class App;
}

namespace qex::tool {

// RefuseEmptyAssignments throws a usage Failure for a word such as --policy=, for which the parser would use
// the next word as the value. Call it before parsing.
void RefuseEmptyAssignments(int count, char* const* words);

// RefuseEmptyValues throws a usage Failure when an option or argument that was read has an empty value.
void RefuseEmptyValues(const CLI::App& command);

// HidePasswords overwrites in place the passwords of --user NAME:PASSWORD and of addresses, so that process
// lists no longer show them. Call it once the words have been read.
void HidePasswords(int count, char** words);

}  // namespace qex::tool
