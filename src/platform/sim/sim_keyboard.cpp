#include "platform/sim/sim_keyboard.h"

#include <utility>

namespace textport::sim {
namespace {

// Key codes of the ANSI keyboard (kVK_ANSI_*) with what QWERTY and Dvorak give there.
struct KeyRow {
  std::uint16_t code;
  char32_t qwerty;
  char32_t dvorak;
};
constexpr KeyRow kKeys[] = {
    {0, 'a', 'a'},    {1, 's', 'o'},   {2, 'd', 'e'},   {3, 'f', 'u'},  {4, 'h', 'd'},
    {5, 'g', 'i'},    {6, 'z', ';'},   {7, 'x', 'q'},   {8, 'c', 'j'},  {9, 'v', 'k'},
    {11, 'b', 'x'},   {12, 'q', '\''}, {13, 'w', ','},  {14, 'e', '.'}, {15, 'r', 'p'},
    {16, 'y', 'f'},   {17, 't', 'y'},  {18, '1', '1'},  {19, '2', '2'}, {20, '3', '3'},
    {21, '4', '4'},   {22, '6', '6'},  {23, '5', '5'},  {24, '=', ']'}, {25, '9', '9'},
    {26, '7', '7'},   {27, '-', '['},  {28, '8', '8'},  {29, '0', '0'}, {30, ']', '='},
    {31, 'o', 'r'},   {32, 'u', 'g'},  {33, '[', '/'},  {34, 'i', 'c'}, {35, 'p', 'l'},
    {37, 'l', 'n'},   {38, 'j', 'h'},  {39, '\'', '-'}, {40, 'k', 't'}, {41, ';', 's'},
    {42, '\\', '\\'}, {43, ',', 'w'},  {44, '/', 'z'},  {45, 'n', 'b'}, {46, 'm', 'm'},
    {47, '.', 'v'},   {50, '`', '`'},
};

}  // namespace

std::optional<SimKeyboard> SimKeyboard::named(std::string_view name) {
  const bool dvorak = name == "dvorak";
  if (!dvorak && name != "us") return std::nullopt;
  SimKeyboard keyboard;
  for (const KeyRow& key : kKeys) keyboard.withCommand[key.code] = dvorak ? key.dvorak : key.qwerty;
  return keyboard;
}

std::optional<std::uint64_t> modifierFlag(std::string_view name) {
  constexpr std::pair<std::string_view, std::uint64_t> kNames[] = {
      {"shift", kFlagShift},
      {"control", kFlagControl},
      {"option", kFlagOption},
      {"command", kEventFlagMaskCommand}};
  for (const auto& [known, flag] : kNames) {
    if (name == known) return flag;
  }
  return std::nullopt;
}

}  // namespace textport::sim
