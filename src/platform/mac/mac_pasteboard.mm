// The general pasteboard (AppKit): items with their types and data, the change count, and the
// writes that the clipboard code makes.
//
// NSPasteboard raises NSPasteboardCommunicationException when the pasteboard server fails for a
// reason other than a timeout (a timeout gives nil or NO). Nothing above the backend expects an
// Objective-C exception, and an uncaught one ends the process, so every pasteboard call is made
// inside @try and a raised exception becomes the failure answer of its operation:
//   pasteboardItems        an empty list (never a partial one)
//   pasteboardChangeCount  the last change count this process read (0 before any)
//   clearPasteboard        the change count as it stands, read as above
//   setPasteboardString, setPasteboardData, writePasteboardItems   false
//   pasteboardString, pasteboardData   nothing
// What the raising call held is released on the way out: Objective-C++ compiles with
// -fobjc-arc-exceptions (cmake/mac_backend.cmake).
#import <AppKit/AppKit.h>

#include <cstring>

#include "platform/mac/cf_handle.h"
#include "platform/mac/mac_platform.h"
#include "platform/mac/mac_values.h"

// Hands out watched text when the pasteboard asks for it, counting each time it is asked.
@interface TextportWatchedText : NSObject <NSPasteboardItemDataProvider>
- (instancetype)initWithText:(NSData*)text reads:(std::uint64_t*)reads;
- (void)stopCounting;
@end

@implementation TextportWatchedText {
  NSData* _text;
  std::uint64_t* _reads;
}

- (instancetype)initWithText:(NSData*)text reads:(std::uint64_t*)reads {
  if ((self = [super init])) {
    _text = text;
    _reads = reads;
  }
  return self;
}

- (void)stopCounting {
  _reads = nullptr;
}

- (void)pasteboard:(NSPasteboard*)pasteboard
                  item:(NSPasteboardItem*)item
    provideDataForType:(NSPasteboardType)type {
  if (_reads) ++*_reads;
  [item setData:_text forType:type];
}

- (void)pasteboardFinishedWithDataProvider:(NSPasteboard*)pasteboard {
}
@end

namespace textport::mac {

namespace {
NSPasteboard* general() {
  return [NSPasteboard generalPasteboard];
}

// Runs one exchange with the pasteboard; `failed` is the answer when the pasteboard raises.
template <class T, class Call>
T guarded(T failed, Call call) {
  @try {
    return call();
  } @catch (NSException*) {
    return failed;
  }
}

// The backend's one UTF-8 conversion (toCFString), as an object that ARC owns; nil for bytes
// that are not UTF-8.
NSString* toNSString(const std::string& utf8) {
  const CFHandle<CFStringRef> string = toCFString(utf8);
  return string ? CFBridgingRelease(CFRetain(string.get())) : nil;
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

// Reads one item's types, each with its data when the item gives any, into `reading`; false when
// the pasteboard raised on the way.
bool readItem(NSPasteboardItem* item, PasteboardItemReading& reading) {
  return guarded(false, [&]() -> bool {
    for (NSPasteboardType type in item.types) {
      PasteboardRepresentation& representation = reading.emplace_back();
      representation.type = toUtf8((__bridge CFStringRef)type);
      if (NSData* data = [item dataForType:type]) representation.data = toBytes(data);
    }
    return true;
  });
}
}  // namespace

// Each item's data is released before the next item is read, so a pasteboard of several large
// items is held only once, in our copy. The exception guard sits inside each item's pool, so a
// raise leaves no pool open.
std::vector<PasteboardItemReading> MacPlatform::pasteboardItems() {
  std::vector<PasteboardItemReading> items;
  const bool read = guarded(false, [&]() -> bool {
    for (NSPasteboardItem* item in [general() pasteboardItems]) {
      @autoreleasepool {
        if (!readItem(item, items.emplace_back())) return false;
      }
    }
    return true;
  });
  if (!read) items.clear();
  return items;
}

std::int64_t MacPlatform::pasteboardChangeCount() {
  lastChangeCount_ =
      guarded(lastChangeCount_, [] { return static_cast<std::int64_t>([general() changeCount]); });
  return lastChangeCount_;
}

std::int64_t MacPlatform::clearPasteboard() {
  const auto count = guarded(std::optional<std::int64_t>(),
                             [] { return std::optional<std::int64_t>([general() clearContents]); });
  if (!count) return pasteboardChangeCount();
  lastChangeCount_ = *count;
  return *count;
}

bool MacPlatform::setPasteboardString(const std::string& text, const std::string& type) {
  return guarded(false, [&]() -> bool {
    NSString* string = toNSString(text);
    NSString* typeName = toNSString(type);
    // Bytes that are not UTF-8 have no NSString; the write fails as the platform's would.
    if (!string || !typeName) return false;
    return [general() setString:string forType:typeName];
  });
}

bool MacPlatform::setPasteboardData(const Bytes& data, const std::string& type) {
  return guarded(false, [&]() -> bool {
    NSString* typeName = toNSString(type);
    if (!typeName) return false;
    return [general() setData:toNSData(data) forType:typeName];
  });
}

// The text is promised, not written: the pasteboard asks the provider for it when someone reads it,
// on this thread while the run loop turns. The pasteboard keeps what the provider gives, so later
// readers are served without asking again: the count tells that the text was read, not how often.
bool MacPlatform::setWatchedPasteboardString(const std::string& text) {
  return guarded(false, [&]() -> bool {
    NSString* string = toNSString(text);
    if (!string) return false;
    TextportWatchedText* provider =
        [[TextportWatchedText alloc] initWithText:[string dataUsingEncoding:NSUTF8StringEncoding]
                                            reads:&watchedReads_];
    NSPasteboardItem* item = [[NSPasteboardItem alloc] init];
    if (![item setDataProvider:provider forTypes:@[ NSPasteboardTypeString ]]) return false;
    if (![general() writeObjects:@[ item ]]) return false;
    releaseWatchedProvider();
    watchedProvider_ = CFBridgingRetain(provider);
    return true;
  });
}

std::uint64_t MacPlatform::watchedTextReads() {
  return watchedReads_;
}

// nspasteboard.org's markers: their presence is what counts, so they carry no data. After a clear,
// setData:forType: writes the first item, the one just staged.
bool MacPlatform::markPasteboardTransient() {
  return guarded(false, [&]() -> bool {
    NSPasteboard* pasteboard = general();
    const BOOL transient = [pasteboard setData:[NSData data]
                                       forType:@"org.nspasteboard.TransientType"];
    const BOOL generated = [pasteboard setData:[NSData data]
                                       forType:@"org.nspasteboard.AutoGeneratedType"];
    return transient && generated;
  });
}

void MacPlatform::releaseWatchedProvider() {
  if (!watchedProvider_) return;
  // The pasteboard may still hold the provider; it must not count into a platform that is gone.
  TextportWatchedText* provider = CFBridgingRelease(watchedProvider_);
  [provider stopCounting];
  watchedProvider_ = nullptr;
}

std::optional<std::string> MacPlatform::pasteboardString(const std::string& type) {
  return guarded(std::optional<std::string>(), [&]() -> std::optional<std::string> {
    NSString* typeName = toNSString(type);
    NSString* string = typeName ? [general() stringForType:typeName] : nil;
    if (!string) return std::nullopt;
    return toUtf8((__bridge CFStringRef)string);
  });
}

std::optional<Bytes> MacPlatform::pasteboardData(const std::string& type) {
  @autoreleasepool {
    return guarded(std::optional<Bytes>(), [&]() -> std::optional<Bytes> {
      NSString* typeName = toNSString(type);
      NSData* data = typeName ? [general() dataForType:typeName] : nil;
      if (!data) return std::nullopt;
      return toBytes(data);
    });
  }
}

// A pasteboard item takes data only under a UTI and refuses other types (setData:forType: gives
// NO); whether writeObjects: takes an item without types is not documented. Every refusal makes
// the write false, and an item that refuses one of its types stops it before anything reaches
// the pasteboard, so a caller can retry without meeting half of its own write there.
bool MacPlatform::writePasteboardItems(const std::vector<PasteboardItem>& items) {
  return guarded(false, [&]() -> bool {
    NSMutableArray<NSPasteboardItem*>* objects = [NSMutableArray arrayWithCapacity:items.size()];
    for (const PasteboardItem& pairs : items) {
      NSPasteboardItem* item = [[NSPasteboardItem alloc] init];
      for (const auto& [type, bytes] : pairs) {
        NSString* typeName = toNSString(type);
        if (!typeName || ![item setData:toNSData(bytes) forType:typeName]) return false;
      }
      [objects addObject:item];
    }
    return [general() writeObjects:objects];
  });
}

}  // namespace textport::mac
