#pragma once

#include <arv.h>

#include <string>
#include <vector>

#include "base/GenTL.h"

namespace lmmocktl {

// The exports a GenTL port bridge needs, taken from whichever loader the caller uses.
struct GenTLPortFunctions {
  decltype(&::GCReadPort) readPort = nullptr;
  decltype(&::GCWritePort) writePort = nullptr;
  decltype(&::GCGetNumPortURLs) getNumPortURLs = nullptr;
  decltype(&::GCGetPortURLInfo) getPortURLInfo = nullptr;
  decltype(&::GCGetLastError) getLastError = nullptr;
};

// One GenTL port (of any module: system, interface, device, remote device, data stream, buffer)
// seen by Aravis' GenApi engine as an ArvDevice. Every memory access of the node map is a
// GCReadPort or GCWritePort on the port, and the node map is built from the description the port's
// first "local:" URL points at, read through the port as well. A failed port access becomes the
// node's GError with the producer's last error text in it.
//
// The port must outlive this object. Not thread safe: one thread uses it at a time.
class GenTLArvDevice {
 public:
  // Reads the port's description and builds its node map. Throws std::runtime_error when the port
  // has no local URL, the description cannot be read or Aravis refuses it.
  GenTLArvDevice(const GenTLPortFunctions& functions, PORT_HANDLE port);
  ~GenTLArvDevice();
  GenTLArvDevice(const GenTLArvDevice&) = delete;
  GenTLArvDevice& operator=(const GenTLArvDevice&) = delete;

  ArvDevice* device() const { return device_; }
  ArvGc* genicam() const;
  // The description's file name as the URL gives it, e.g. "tl_remote_1_3_22.xml".
  const std::string& descriptionName() const { return descriptionName_; }

  // The feature node called `name`; throws std::runtime_error "unknown feature <name>" when the
  // description has none.
  ArvGcFeatureNode* feature(const std::string& name) const;
  // Every feature below the "Root" category, depth first, in description order, then the value
  // features (enumerations, integers, floats, booleans, commands) no category lists; categories
  // themselves and the registers behind the features are left out.
  std::vector<std::string> featureNames() const;

  // Value of a feature as text (enumerations by entry name). Throws std::runtime_error with
  // Aravis' message, which carries the producer's last error when the port access failed.
  std::string read(const std::string& name) const;
  // Writes a feature from its text form; a command is executed whatever the text.
  void write(const std::string& name, const std::string& value) const;
  void execute(const std::string& name) const;

 private:
  ArvDevice* device_ = nullptr;
  std::string descriptionName_;
};

}  // namespace lmmocktl
