#define LOG_TAG "TuningFileGenerator"

#include "bench/TuningFileGenerator.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <log/log.h>
#include <sys/stat.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace orvan::bench {
namespace {

struct DocumentDeleter {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, DocumentDeleter>;

struct BufferDeleter {
    void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
};
using Buffer = std::unique_ptr<xmlBuffer, BufferDeleter>;

struct XmlStringDeleter {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

const xmlChar* xml(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

bool isElement(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, xml(name));
}

std::string attribute(xmlNode* node, const char* name) {
    std::unique_ptr<xmlChar, XmlStringDeleter> value(xmlGetProp(node, xml(name)));
    return value ? reinterpret_cast<const char*>(value.get()) : "";
}

void setAttribute(xmlNode* node, const char* name, const std::string& value) {
    xmlSetProp(node, xml(name), xml(value.c_str()));
}

// The template's ids are plain numbers; anything else counts as 0.
int number(const std::string& text) {
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

size_t fileSize(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? static_cast<size_t>(st.st_size) : 0;
}

// What one copy repeats, and the node after which the copies of each kind go.
struct Kind {
    std::vector<xmlNode*> nodes;
    xmlNode* last = nullptr;

    void add(xmlNode* node) {
        nodes.push_back(node);
        last = node;
    }
};

size_t dumpedSize(xmlDoc* document, const std::vector<xmlNode*>& nodes) {
    Buffer buffer(xmlBufferCreate());
    size_t bytes = 0;
    for (xmlNode* node : nodes) {
        xmlBufferEmpty(buffer.get());
        xmlNodeDump(buffer.get(), document, node, 1, 0);
        bytes += static_cast<size_t>(xmlBufferLength(buffer.get())) + 3;  // "\n  " before it
    }
    return bytes;
}

// Puts `copy` after `kind.last`, indented like the template's top-level elements.
void append(xmlDoc* document, Kind& kind, xmlNode* copy) {
    xmlNode* indent = xmlNewDocText(document, xml("\n  "));
    xmlAddNextSibling(kind.last, indent);
    xmlAddNextSibling(indent, copy);
    kind.last = copy;
}

}  // namespace

TuningFileGenerator::TuningFileGenerator(std::string templatePath) : mTemplatePath(std::move(templatePath)) {}

bool TuningFileGenerator::generate(int factor, const std::string& path, Counts* counts) const {
    Document document(xmlReadFile(mTemplatePath.c_str(), nullptr, XML_PARSE_NONET));
    xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (root == nullptr) {
        ALOGE("cannot read the template tuning file %s", mTemplatePath.c_str());
        return false;
    }
    Kind geqPresets;
    Kind profiles;
    Kind tunings;
    int deviceCount = 0;
    for (xmlNode* node = root->children; node != nullptr; node = node->next) {
        if (isElement(node, "preset") && attribute(node, "type") == "geq") {
            geqPresets.add(node);
        } else if (isElement(node, "profile")) {
            profiles.add(node);
        } else if (isElement(node, "tuning")) {
            tunings.add(node);
            for (xmlNode* child = node->children; child != nullptr; child = child->next) {
                deviceCount += isElement(child, "device_id") ? 1 : 0;
            }
        }
    }
    if (profiles.nodes.empty() || tunings.nodes.empty()) {
        ALOGE("template %s has no profile or no tuning to repeat", mTemplatePath.c_str());
        return false;
    }

    // Enough copies to reach the size asked for; the rest of the file stays single.
    const size_t templateBytes = fileSize(mTemplatePath);
    const size_t copyBytes = dumpedSize(document.get(), geqPresets.nodes) +
                             dumpedSize(document.get(), profiles.nodes) + dumpedSize(document.get(), tunings.nodes);
    const size_t target = templateBytes * static_cast<size_t>(factor > 1 ? factor : 1);
    const size_t copies = target > templateBytes ? (target - templateBytes + copyBytes - 1) / copyBytes : 0;
    const int profileStride = static_cast<int>(profiles.nodes.size());

    for (size_t k = 1; k <= copies; ++k) {
        const std::string suffix = "_" + std::to_string(k);
        const int offset = static_cast<int>(k) * profileStride;
        for (xmlNode* preset : geqPresets.nodes) {
            xmlNode* copy = xmlDocCopyNode(preset, document.get(), 1);
            setAttribute(copy, "id", std::to_string(number(attribute(preset, "id")) + offset));
            append(document.get(), geqPresets, copy);
        }
        for (xmlNode* profile : profiles.nodes) {
            xmlNode* copy = xmlDocCopyNode(profile, document.get(), 1);
            setAttribute(copy, "id", std::to_string(number(attribute(profile, "id")) + offset));
            setAttribute(copy, "name", attribute(profile, "name") + suffix);
            append(document.get(), profiles, copy);
        }
        for (xmlNode* tuning : tunings.nodes) {
            xmlNode* copy = xmlDocCopyNode(tuning, document.get(), 1);
            setAttribute(copy, "name", attribute(tuning, "name") + suffix);
            for (xmlNode* child = copy->children; child != nullptr; child = child->next) {
                if (isElement(child, "device_id")) {
                    setAttribute(child, "id", attribute(child, "id") + suffix);
                }
            }
            append(document.get(), tunings, copy);
        }
    }
    if (xmlSaveFileEnc(path.c_str(), document.get(), "UTF-8") < 0) {
        ALOGE("cannot write the generated tuning file %s", path.c_str());
        return false;
    }
    const int times = static_cast<int>(copies) + 1;
    counts->profiles = profileStride * times;
    counts->tunings = static_cast<int>(tunings.nodes.size()) * times;
    counts->devices = deviceCount * times;
    counts->bytes = fileSize(path);
    return true;
}

}  // namespace orvan::bench
