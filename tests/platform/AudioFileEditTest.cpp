// Editing audio files: what changes, what never does, and what is refused.
#include "platform/audiofile/AudioFileEdit.h"

#include "AudioFileProbe.h"
#include "support/TestEnvironment.h"

#include <fmt/ranges.h>

using namespace fixture;
using vesk::AudioFileEdit;
using vesk::EditError;
using enum vesk::AudioFileEdit::Outcome;

namespace {

std::unique_ptr<AudioFileEdit> editOf(std::span<const std::byte> bytes) {
  vesk::WriteFailure failure;
  return AudioFileEdit::open(std::make_unique<vesk::MemoryBytes>(bytes), failure);
}

// What a commit would write; empty when it would be refused.
Bytes editedBytes(const AudioFileEdit& edit) {
  vesk::WriteFailure failure;
  const auto bytes = edit.edited(failure);
  return bytes ? *bytes->upTo(0, bytes->size()) : Bytes{};
}

}  // namespace

TEST(AudioFileEdit, Smoke) {
  const auto edit = editOf(aiffFile({chunk("NAME", "odd"), chunk("basc", "1234")}));
  ASSERT_TRUE(edit);
  EXPECT_FALSE(edit->hasChanges());
  EXPECT_EQ(edit->setUserData("NAME", 0, bytesOf("other")), EditError::none);
  EXPECT_EQ(edit->setUserData("cate", 0, bytesOf("new")), EditError::none);
  EXPECT_EQ(editedBytes(*edit), aiffFile({chunk("NAME", "other"), chunk("basc", "1234"), chunk("cate", "new")}));
}
