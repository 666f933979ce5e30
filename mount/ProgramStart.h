#pragma once

// What main() does first.
namespace Oru::Mount {

// Opens /dev/null as each of the standard descriptors that is closed. A file that is opened later
// would get its number, and what goes to standard error would be written into that file. To be called
// before anything is opened.
void openStandardDescriptors();

// For a program that is to go on when nobody reads its log any more: writing to a pipe without a
// reader fails, and ends nothing.
void ignoreBrokenPipes();

}  // namespace Oru::Mount
