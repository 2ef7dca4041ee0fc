#include "tools/GenTLArvDevice.h"

#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace {

using lmmocktl::GenTLPortFunctions;

// The GObject side: an ArvDevice whose memory is a GenTL port.
struct LmmPortDevice {
  ArvDevice parent;
  GenTLPortFunctions* functions;
  PORT_HANDLE port;
  std::string* xml;
  ArvGc* genicam;
};

struct LmmPortDeviceClass {
  ArvDeviceClass parent_class;
};

G_DEFINE_TYPE(LmmPortDevice, lmm_port_device, ARV_TYPE_DEVICE)

LmmPortDevice* asPortDevice(ArvDevice* device) { return reinterpret_cast<LmmPortDevice*>(device); }

std::string lastErrorText(const GenTLPortFunctions& functions) {
  GC_ERROR code = GC_ERR_SUCCESS;
  size_t size = 0;
  if (functions.getLastError == nullptr || functions.getLastError(&code, nullptr, &size) != GC_ERR_SUCCESS ||
      size == 0) {
    return "no last error text";
  }
  std::string text(size, '\0');
  if (functions.getLastError(&code, text.data(), &size) != GC_ERR_SUCCESS) return "no last error text";
  text.resize(std::strlen(text.c_str()));
  return text + " (error " + std::to_string(code) + ")";
}

gboolean readMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error) {
  LmmPortDevice* self = asPortDevice(device);
  size_t done = size;
  const GC_ERROR result = self->functions->readPort(self->port, address, buffer, &done);
  if (result != GC_ERR_SUCCESS || done != size) {
    g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TRANSFER_ERROR,
                "GCReadPort of %u bytes at 0x%" PRIx64 " failed: %s", size, std::uint64_t{address},
                result != GC_ERR_SUCCESS ? lastErrorText(*self->functions).c_str() : "short read");
    return FALSE;
  }
  return TRUE;
}

gboolean writeMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error) {
  LmmPortDevice* self = asPortDevice(device);
  size_t done = size;
  const GC_ERROR result = self->functions->writePort(self->port, address, buffer, &done);
  if (result != GC_ERR_SUCCESS || done != size) {
    g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TRANSFER_ERROR,
                "GCWritePort of %u bytes at 0x%" PRIx64 " failed: %s", size, std::uint64_t{address},
                result != GC_ERR_SUCCESS ? lastErrorText(*self->functions).c_str() : "short write");
    return FALSE;
  }
  return TRUE;
}

// GenTL ports are little-endian register spaces, as is every host this builds on.
gboolean readRegister(ArvDevice* device, guint64 address, guint32* value, GError** error) {
  return readMemory(device, address, sizeof(*value), value, error);
}

gboolean writeRegister(ArvDevice* device, guint64 address, guint32 value, GError** error) {
  return writeMemory(device, address, sizeof(value), &value, error);
}

const char* genicamXml(ArvDevice* device, size_t* size) {
  LmmPortDevice* self = asPortDevice(device);
  *size = self->xml->size();
  return self->xml->data();
}

ArvGc* genicam(ArvDevice* device) { return asPortDevice(device)->genicam; }

// Streams belong to the GenTL data stream functions, not to the node map.
ArvStream* createStream(ArvDevice*, ArvStreamCallback, void*, GDestroyNotify, GError** error) {
  g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR,
              "a GenTL port has no Aravis stream; use the data stream functions");
  return nullptr;
}

void lmm_port_device_init(LmmPortDevice* self) {
  self->functions = new GenTLPortFunctions{};
  self->port = nullptr;
  self->xml = new std::string;
  self->genicam = nullptr;
}

void finalize(GObject* object) {
  auto* self = reinterpret_cast<LmmPortDevice*>(object);
  g_clear_object(&self->genicam);
  delete self->xml;
  delete self->functions;
  G_OBJECT_CLASS(lmm_port_device_parent_class)->finalize(object);
}

void lmm_port_device_class_init(LmmPortDeviceClass* klass) {
  G_OBJECT_CLASS(klass)->finalize = finalize;
  ArvDeviceClass* device = ARV_DEVICE_CLASS(klass);
  device->create_stream = createStream;
  device->get_genicam_xml = genicamXml;
  device->get_genicam = genicam;
  device->read_memory = readMemory;
  device->write_memory = writeMemory;
  device->read_register = readRegister;
  device->write_register = writeRegister;
}

template <class T>
bool urlInfo(const GenTLPortFunctions& functions, PORT_HANDLE port, uint32_t index, URL_INFO_CMD command, T& value) {
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  size_t size = sizeof(value);
  return functions.getPortURLInfo(port, index, command, &type, &value, &size) == GC_ERR_SUCCESS;
}

std::string urlText(const GenTLPortFunctions& functions, PORT_HANDLE port, uint32_t index) {
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  size_t size = 0;
  if (functions.getPortURLInfo(port, index, URL_INFO_URL, &type, nullptr, &size) != GC_ERR_SUCCESS) {
    throw std::runtime_error("GCGetPortURLInfo(URL_INFO_URL) failed: " + lastErrorText(functions));
  }
  std::string text(size, '\0');
  if (functions.getPortURLInfo(port, index, URL_INFO_URL, &type, text.data(), &size) != GC_ERR_SUCCESS) {
    throw std::runtime_error("GCGetPortURLInfo(URL_INFO_URL) failed: " + lastErrorText(functions));
  }
  text.resize(std::strlen(text.c_str()));
  return text;
}

struct LocalUrl {
  std::string fileName;
  std::uint64_t address = 0;
  std::uint64_t size = 0;
};

// "local:[///]name.xml;F0000000;1A2B[?SchemaVersion=1.1.0]", address and size in hexadecimal.
bool parseLocalUrl(const std::string& url, LocalUrl& parsed) {
  constexpr std::string_view scheme = "local:";
  if (url.size() < scheme.size() || !std::equal(scheme.begin(), scheme.end(), url.begin(), [](char a, char b) {
        return a == std::tolower(static_cast<unsigned char>(b));
      })) {
    return false;
  }
  std::string rest = url.substr(scheme.size());
  rest = rest.substr(0, rest.find('?'));
  while (!rest.empty() && rest.front() == '/') rest.erase(0, 1);
  const auto first = rest.find(';');
  const auto second = first == std::string::npos ? first : rest.find(';', first + 1);
  if (second == std::string::npos) return false;
  parsed.fileName = rest.substr(0, first);
  try {
    parsed.address = std::stoull(rest.substr(first + 1, second - first - 1), nullptr, 16);
    parsed.size = std::stoull(rest.substr(second + 1), nullptr, 16);
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

std::string unzipDescription(const std::string& zipped, const std::string& name) {
  std::unique_ptr<ArvZip, decltype(&arv_zip_free)> zip(arv_zip_new(zipped.data(), zipped.size()), arv_zip_free);
  const GSList* files = zip ? arv_zip_get_file_list(zip.get()) : nullptr;
  if (files == nullptr) throw std::runtime_error("the description " + name + " is not a readable zip file");
  const char* inner = arv_zip_file_get_name(static_cast<ArvZipFile*>(files->data));
  size_t size = 0;
  void* data = arv_zip_get_file(zip.get(), inner, &size);
  if (data == nullptr) throw std::runtime_error("cannot unpack " + std::string(inner) + " from " + name);
  std::string xml(static_cast<const char*>(data), size);
  g_free(data);
  return xml;
}

std::string errorText(GError* error) {
  std::string text = error != nullptr ? error->message : "unknown failure";
  g_clear_error(&error);
  return text;
}

}  // namespace

namespace lmmocktl {

GenTLArvDevice::GenTLArvDevice(const GenTLPortFunctions& functions, PORT_HANDLE port) {
  uint32_t urls = 0;
  if (functions.getNumPortURLs(port, &urls) != GC_ERR_SUCCESS) {
    throw std::runtime_error("GCGetNumPortURLs failed: " + lastErrorText(functions));
  }
  LocalUrl local;
  bool found = false;
  for (uint32_t index = 0; index < urls && !found; ++index) {
    found = parseLocalUrl(urlText(functions, port, index), local);
    // The URL's own numbers are what the producer reports as register address and file size;
    // prefer the typed info answers when the producer gives them.
    if (found) {
      urlInfo(functions, port, index, URL_INFO_FILE_REGISTER_ADDRESS, local.address);
      urlInfo(functions, port, index, URL_INFO_FILE_SIZE, local.size);
    }
  }
  if (!found) throw std::runtime_error("the port has no local: URL to read its description from");
  descriptionName_ = local.fileName;

  std::string description(local.size, '\0');
  size_t size = description.size();
  if (functions.readPort(port, local.address, description.data(), &size) != GC_ERR_SUCCESS) {
    throw std::runtime_error("cannot read the description " + local.fileName +
                             ": GCReadPort failed: " + lastErrorText(functions));
  }
  description.resize(size);
  if (local.fileName.size() > 4 && local.fileName.ends_with(".zip")) {
    description = unzipDescription(description, local.fileName);
  }
  // GenApi text may end with zero bytes that a register pads it with; the XML parser stops there.
  description.resize(std::strlen(description.c_str()));

  auto* self = static_cast<LmmPortDevice*>(g_object_new(lmm_port_device_get_type(), nullptr));
  *self->functions = functions;
  self->port = port;
  *self->xml = std::move(description);
  device_ = ARV_DEVICE(self);
  self->genicam = arv_gc_new(device_, self->xml->data(), self->xml->size());
  if (self->genicam == nullptr || arv_gc_get_node(self->genicam, "Root") == nullptr) {
    g_object_unref(device_);
    throw std::runtime_error("Aravis cannot build a node map from " + local.fileName);
  }
  // Every read goes to the port: the features are what the producer says now, not a cache.
  arv_gc_set_register_cache_policy(self->genicam, ARV_REGISTER_CACHE_POLICY_DISABLE);
  arv_gc_set_range_check_policy(self->genicam, ARV_RANGE_CHECK_POLICY_ENABLE);
}

GenTLArvDevice::~GenTLArvDevice() { g_object_unref(device_); }

ArvGc* GenTLArvDevice::genicam() const { return asPortDevice(device_)->genicam; }

ArvGcFeatureNode* GenTLArvDevice::feature(const std::string& name) const {
  ArvGcNode* node = arv_gc_get_node(genicam(), name.c_str());
  if (node == nullptr || !ARV_IS_GC_FEATURE_NODE(node)) throw std::runtime_error("unknown feature " + name);
  return ARV_GC_FEATURE_NODE(node);
}

std::vector<std::string> GenTLArvDevice::featureNames() const {
  std::vector<std::string> names;
  auto visit = [&](auto& self, const char* name) -> void {
    ArvGcNode* node = arv_gc_get_node(genicam(), name);
    if (node == nullptr) return;
    if (ARV_IS_GC_CATEGORY(node)) {
      for (const GSList* child = arv_gc_category_get_features(ARV_GC_CATEGORY(node)); child != nullptr;
           child = child->next) {
        self(self, static_cast<const char*>(child->data));
      }
      return;
    }
    if (std::find(names.begin(), names.end(), name) == names.end()) names.emplace_back(name);
  };
  visit(visit, "Root");
  // Features outside every category (a description may leave a user feature out of its tree):
  // the value nodes, not the registers and formulas behind them.
  ArvDomElement* root = arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(genicam()));
  for (ArvDomNode* child = root != nullptr ? arv_dom_node_get_first_child(ARV_DOM_NODE(root)) : nullptr;
       child != nullptr; child = arv_dom_node_get_next_sibling(child)) {
    if (!ARV_IS_GC_ENUMERATION(child) && !ARV_IS_GC_INTEGER_NODE(child) && !ARV_IS_GC_FLOAT_NODE(child) &&
        !ARV_IS_GC_BOOLEAN(child) && !ARV_IS_GC_COMMAND(child)) {
      continue;
    }
    const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(child));
    if (name != nullptr && std::find(names.begin(), names.end(), name) == names.end()) names.emplace_back(name);
  }
  return names;
}

std::string GenTLArvDevice::read(const std::string& name) const {
  ArvGcFeatureNode* node = feature(name);
  GError* error = nullptr;
  const char* value = arv_gc_feature_node_get_value_as_string(node, &error);
  if (error != nullptr || value == nullptr) throw std::runtime_error("cannot read " + name + ": " + errorText(error));
  return value;
}

void GenTLArvDevice::write(const std::string& name, const std::string& value) const {
  ArvGcFeatureNode* node = feature(name);
  if (ARV_IS_GC_COMMAND(node)) {
    execute(name);
    return;
  }
  GError* error = nullptr;
  arv_gc_feature_node_set_value_from_string(node, value.c_str(), &error);
  if (error != nullptr) throw std::runtime_error("cannot set " + name + " to " + value + ": " + errorText(error));
}

void GenTLArvDevice::execute(const std::string& name) const {
  ArvGcFeatureNode* node = feature(name);
  if (!ARV_IS_GC_COMMAND(node)) throw std::runtime_error(name + " is not a command");
  GError* error = nullptr;
  arv_gc_command_execute(ARV_GC_COMMAND(node), &error);
  if (error != nullptr) throw std::runtime_error("cannot execute " + name + ": " + errorText(error));
}

}  // namespace lmmocktl
