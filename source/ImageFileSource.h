#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <vector>

#include "source/ImageGeometry.h"
#include "source/SourceImage.h"

namespace lumo::mockTL {

// One loaded image of a stream's image list and the file it came from.
struct ImageListEntry {
  std::filesystem::path path;
  std::shared_ptr<const SourceImage> image;
};

// A stream's images, in delivery order. The images are immutable: copies of the list share them,
// and any number of acquisition threads may read them at once.
using ImageList = std::vector<ImageListEntry>;

// The image file source: builds a stream's image list, once, from its configuration's
// `ImageDirectoryPath` and `ImageOrder`, and says which geometry the list gives the stream.
// Stateless; any thread may call it, though it is meant for the thread that reads the configuration.
class ImageFileSource {
 public:
  // Reads one file into an image, or throws a standard exception whose text is the reason it
  // cannot be used.
  using Loader = std::function<std::shared_ptr<const SourceImage>(const std::filesystem::path&)>;

  // The images of a stream configured with `directory` (ImageDirectoryPath) and `order`
  // (ImageOrder):
  // - a non-empty `order` lists the files in delivery order; a relative entry is taken inside
  //   `directory` when there is one, else in the working directory;
  // - otherwise the regular files (or links to them) directly in `directory` whose extension
  //   ImageFileLoader accepts, ordered by file name compared byte by byte (img10 before img2);
  // - otherwise none.
  // A file that fails to load, and an image whose size or pixel format differs from the first
  // image's, is left out with one line on `report` naming the file and the reason. An image whose
  // planes differ in data type empties the whole list (one line as well).
  //
  // Throws std::filesystem::filesystem_error for what the file system refuses: the status query of
  // an `order` entry ("status"), making `directory` absolute ("absolute") and reading it
  // ("directory_iterator::directory_iterator", also when it does not exist).
  static ImageList load(const std::optional<std::filesystem::path>& directory,
                        const std::optional<std::vector<std::filesystem::path>>& order, std::ostream& report);
  // The same with another way of reading files (ImageFileLoader::load by default).
  static ImageList load(const std::optional<std::filesystem::path>& directory,
                        const std::optional<std::vector<std::filesystem::path>>& order, std::ostream& report,
                        const Loader& loader);

  // What the first image makes of the stream: its width and height, the pixel format matching its
  // planes (pixelFormatOf), no padding. Nothing for an empty list.
  static std::optional<ImageGeometry> geometryOf(const ImageList& images);

  // The PFNC format whose samples an image's planes hold: 1 plane of 8 bits Mono8, of 16 bits
  // Mono16; 3 planes of 8 bits RGB8, of 16 bits RGB10 (the configurable colour format with 16-bit
  // samples; the samples are delivered unchanged). Bits 9 to 16 count as 16. Nothing for any other
  // plane count or for signed samples.
  static std::optional<std::uint32_t> pixelFormatOf(const SourceImage& image);

  // The image of the frame a stream delivers after `startedCount` earlier ones: entry
  // startedCount mod N, so the sequence repeats and continues across acquisition starts. Null for
  // an empty list.
  static const SourceImage* imageForFrame(const ImageList& images, std::uint64_t startedCount);
};

}  // namespace lumo::mockTL
