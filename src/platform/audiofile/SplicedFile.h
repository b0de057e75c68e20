// Writes a file anew out of pieces of itself and new bytes, through a temporary sibling (FileReplacement) that is
// compared byte for byte with what was meant before it takes the file's place. Memory stays flat.
#pragma once

#include <functional>
#include <memory>

#include "platform/audiofile/FileBytes.h"
#include "platform/audiofile/SplicedBytes.h"
#include "platform/FileReplacement.h"
#include "platform/WriteFailure.h"

namespace vesk {

// The bytes of the found file, over a descriptor of their own; null when there are too many open files.
std::unique_ptr<FileBytes> bytesOf(const FoundFile& found);

// Whether the bytes that were written are what was meant; asked before they take the file's place.
using WrittenCheck = std::function<bool(std::unique_ptr<ByteSource> written)>;

// True when the file is what `splice` says, its pieces being those of `found`. False with the reason in `failure`: the
// file is then as it was, but see FileReplacement::commit. Of the reasons notReadBack is added. `check` may be null.
bool replaceBySplice(const FoundFile& found, const std::shared_ptr<const Splice>& splice, const WrittenCheck& check,
                     const ReplaceOptions& options, WriteFailure& failure);

}  // namespace vesk
