#include "pipeline/group_reporting.h"

#include "pipeline/multi_view_aligner.h"

std::size_t ChooseReference(MultiViewAligner& aligner, const std::vector<bool>& preferred,
                            std::size_t reference_position, const std::vector<uint64_t>& frames) {
  if (frames.empty()) return reference_position;
  const bool reference_preferred = preferred[frames[reference_position]];
  std::size_t marked = 0, chosen = reference_position;
  for (std::size_t position = 0; position < frames.size(); ++position) {
    if (!preferred[frames[position]]) continue;
    if (marked++ == 0 && !reference_preferred) chosen = position;
  }
  if (!aligner.params->several_preferred) aligner.params->several_preferred = marked > 1;
  return chosen;
}

void WriteConnectivity(MultiViewAligner& aligner, const pair_table<bool>& links) {
  const std::size_t n = links.size() + 1;
  connectivity_matrix matrix(n, std::vector<int32_t>(n, 1));
  for (std::size_t i = 0; i < links.size(); ++i) {
    for (std::size_t j = i + 1; j < n; ++j) matrix[i][j] = matrix[j][i] = links[i][pair_position(i, j)] ? 1 : 0;
  }
  aligner.params->connectivity.push_back(std::move(matrix));
}

void WriteGroupHead(MultiViewAligner& aligner, const pair_table<bool>& links, const std::vector<uint64_t>& frame_ids,
                    std::size_t reference_position) {
  WriteConnectivity(aligner, links);
  aligner.params->groupCount.push_back(static_cast<int32_t>(frame_ids.size()));
  aligner.params->refSheetID.push_back(aligner.sheet_ids[frame_ids[reference_position]]);
}

void WriteLoneFrame(MultiViewAligner& aligner, uint64_t frame_id) {
  aligner.params->sheetID.push_back(aligner.sheet_ids[frame_id]);
  aligner.params->renderable.push_back(false);
  aligner.params->transforms.emplace_back();
}
