#include "registry/registry_tree.h"

#include <algorithm>

#include "core/text.h"

namespace winhost {

namespace {

constexpr std::size_t kMaxKeyName = 255;
constexpr std::size_t kMaxDepth = 512;

}  // namespace

std::vector<std::u16string_view> KeyNames(std::u16string_view path) {
    std::vector<std::u16string_view> names;
    while (!path.empty()) {
        const auto end = std::min(path.find(u'\\'), path.size());
        if (end > 0) names.push_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return names;
}

RegistryNode* RegistryNode::FindKey(std::u16string_view path) {
    RegistryNode* node = this;
    for (const auto part : KeyNames(path)) {
        const auto found = node->keys.find(Upper(part));
        if (found == node->keys.end()) return nullptr;
        node = found->second.get();
    }
    return node;
}

RegistryNode* RegistryNode::MakeKey(std::u16string_view path) {
    const auto names = KeyNames(path);
    if (names.size() > kMaxDepth) return nullptr;
    // A line feed would end the key's line in the text form.
    for (const auto part : names)
        if (part.size() > kMaxKeyName || part.find(u'\n') != part.npos) return nullptr;
    RegistryNode* node = this;
    for (const auto part : names) {
        auto& child = node->keys[Upper(part)];
        if (!child) {
            child = std::make_unique<RegistryNode>();
            child->name = part;
        }
        node = child.get();
    }
    return node;
}

RegistryValue* RegistryNode::FindValue(std::u16string_view value) {
    const auto found = std::find_if(values.begin(), values.end(), [value](const RegistryValue& each) {
        return SameName(each.name, value);
    });
    return found == values.end() ? nullptr : &*found;
}

void RegistryNode::SetValue(std::u16string_view value, DWORD type, std::string_view bytes) {
    RegistryValue* target = FindValue(value);
    if (!target) {
        target = &values.emplace_back();
        target->name = value;
    }
    target->type = type;
    target->bytes = bytes;
    text.clear();
}

bool RegistryNode::DeleteValue(std::u16string_view value) {
    text.clear();
    return std::erase_if(values, [value](const RegistryValue& each) { return SameName(each.name, value); }) >
           0;
}

}  // namespace winhost
