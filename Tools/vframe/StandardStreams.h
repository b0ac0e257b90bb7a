// Standard input, output and error.
#pragma once

namespace vframe {

/// Takes the numbers of streams that the program was started without, so that no file gets them
/// and finds printed text in it. Reading and writing go on failing there.
void KeepStandardNumbers();

/// What has been printed is to be seen now. Raises Failure when it could not all be written.
void FlushOutput();

}  // namespace vframe
