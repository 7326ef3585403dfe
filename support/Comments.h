// Removing comments from program-like text. Thread any, concurrent on distinct arguments, may
// block.
#ifndef VELNOR_SUPPORT_COMMENTS_H
#define VELNOR_SUPPORT_COMMENTS_H

#include <iosfwd>
#include <string>

// Erases block comments, then line comments, in place. A "/*" directly behind a "/" opens a line
// comment instead. A line comment goes up to, not including, its carriage return or line feed.
// Quotes protect nothing. A block comment that is not closed takes the rest of the text with it and
// writes one line to err, which may be null. Takes time linear in the text.
void removeComments(std::string& text, std::ostream* err);

#endif
