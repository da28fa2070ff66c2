// Checks that outputs do not meet, and commits them together.
#include "tool/base/outputs.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/interruption.h"
#include "tool/base/output_file.h"
#include "tool/base/system.h"

namespace qex::tool {
namespace {

void refuse_inputs(const std::list<OutputFile>& files, const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    const std::optional<FileIdentity> read = RegularFileAt(input);
    if (!read) continue;
    for (const OutputFile& file : files) {
      if (!file.IsFile() || !file.LeadsTo(*read)) continue;
      throw UsageFailure(ShownPath(input) + ": would be lost under the output " + ShownPath(file.Target()),
                         "name another file with -o");
    }
  }
}

void refuse_one_file_for_two(const std::list<OutputFile>& files) {
  std::vector<std::filesystem::path> places;
  for (const OutputFile& file : files) {
    if (!file.IsFile()) continue;
    std::error_code none;  // a path that leads nowhere is itself
    std::filesystem::path place = std::filesystem::weakly_canonical(PathOf(file.Path()), none);
    if (none) place = PathOf(file.Path());
    if (std::ranges::find(places, place) != places.end()) {
      throw UsageFailure(ShownPath(file.Target()) + ": two outputs lead to this file",
                         "name another file with -o");
    }
    places.push_back(std::move(place));
  }
}

void name_all(const std::vector<OutputFile*>& files) {
  size_t done = 0;
  try {
    for (; done < files.size(); ++done) files[done]->TakeName();
  } catch (...) {
    while (done > 0) files[--done]->GiveNameBack();
    throw;
  }
  for (OutputFile* file : files) file->Finish();
}

}  // namespace

Outputs::Outputs(const std::vector<Output>& outputs, const std::vector<std::string>& inputs, bool force) {
  for (const Output& output : outputs) files_.emplace_back(output, force);
  refuse_inputs(files_, inputs);
  refuse_one_file_for_two(files_);
  for (OutputFile& file : files_) file.MakeTemporary();
}

Outputs::~Outputs() = default;

void Outputs::Commit(std::initializer_list<ByteView> data) {
  std::vector<std::pair<OutputFile*, ByteView>> files;
  auto octets = data.begin();
  for (OutputFile& file : files_) {
    if (file.IsFile()) {
      files.emplace_back(&file, *octets);
    } else {
      file.WriteDirectly(*octets);
    }
    ++octets;
  }
  if (files.empty()) return;
  const SignalsHeld held;
  std::vector<OutputFile*> written;
  for (const auto& [file, octetsOfIt] : files) {
    file->WriteTemporary(octetsOfIt);
    written.push_back(file);
  }
  FolderLock folder(FolderOf(written.front()->Path()), written.size() > 1);
  name_all(written);
  folder.Release();
}

}  // namespace qex::tool
