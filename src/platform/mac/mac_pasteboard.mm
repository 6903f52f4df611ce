// The general pasteboard (AppKit): items with their types and data, the change count, and the
// writes that the clipboard code makes.
#import <AppKit/AppKit.h>

#include <cstring>

#include "platform/mac/mac_platform.h"
#include "platform/mac/mac_values.h"

namespace textport::mac {

namespace {
NSPasteboard* general() {
  return [NSPasteboard generalPasteboard];
}

NSString* toNSString(const std::string& utf8) {
  return [[NSString alloc] initWithBytes:utf8.data()
                                  length:utf8.size()
                                encoding:NSUTF8StringEncoding];
}

NSData* toNSData(const Bytes& bytes) {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

// The one copy out of the platform: NSData may hold its bytes in several ranges, and .bytes would
// first flatten them into a buffer of its own.
Bytes toBytes(NSData* data) {
  Bytes bytes(data.length);
  std::uint8_t* out = bytes.data();
  [data enumerateByteRangesUsingBlock:^(const void* range, NSRange at, BOOL*) {
    if (at.length > 0) std::memcpy(out + at.location, range, at.length);
  }];
  return bytes;
}
}  // namespace

// Each item's data is released before the next item is read, so a pasteboard of several large
// items is held only once, in our copy.
std::vector<PasteboardItemReading> MacPlatform::pasteboardItems() {
  std::vector<PasteboardItemReading> items;
  for (NSPasteboardItem* item in [general() pasteboardItems]) {
    @autoreleasepool {
      PasteboardItemReading& reading = items.emplace_back();
      for (NSPasteboardType type in item.types) {
        PasteboardRepresentation& representation = reading.emplace_back();
        representation.type = toUtf8((__bridge CFStringRef)type);
        if (NSData* data = [item dataForType:type]) representation.data = toBytes(data);
      }
    }
  }
  return items;
}

std::int64_t MacPlatform::pasteboardChangeCount() {
  return [general() changeCount];
}

std::int64_t MacPlatform::clearPasteboard() {
  return [general() clearContents];
}

bool MacPlatform::setPasteboardString(const std::string& text, const std::string& type) {
  NSString* string = toNSString(text);
  NSString* typeName = toNSString(type);
  // Bytes that are not UTF-8 have no NSString; the write fails as the platform's would.
  if (!string || !typeName) return false;
  return [general() setString:string forType:typeName];
}

bool MacPlatform::setPasteboardData(const Bytes& data, const std::string& type) {
  NSString* typeName = toNSString(type);
  if (!typeName) return false;
  return [general() setData:toNSData(data) forType:typeName];
}

std::optional<std::string> MacPlatform::pasteboardString(const std::string& type) {
  NSString* typeName = toNSString(type);
  NSString* string = typeName ? [general() stringForType:typeName] : nil;
  if (!string) return std::nullopt;
  return toUtf8((__bridge CFStringRef)string);
}

std::optional<Bytes> MacPlatform::pasteboardData(const std::string& type) {
  @autoreleasepool {
    NSString* typeName = toNSString(type);
    NSData* data = typeName ? [general() dataForType:typeName] : nil;
    if (!data) return std::nullopt;
    return toBytes(data);
  }
}

bool MacPlatform::writePasteboardItems(const std::vector<PasteboardItem>& items) {
  NSMutableArray<NSPasteboardItem*>* objects = [NSMutableArray arrayWithCapacity:items.size()];
  for (const PasteboardItem& pairs : items) {
    NSPasteboardItem* item = [[NSPasteboardItem alloc] init];
    for (const auto& [type, bytes] : pairs) {
      NSString* typeName = toNSString(type);
      if (typeName) [item setData:toNSData(bytes) forType:typeName];
    }
    [objects addObject:item];
  }
  return [general() writeObjects:objects];
}

}  // namespace textport::mac
