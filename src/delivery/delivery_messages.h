// Every answer the "deliver" action can give, in one place. The bilingual texts are shown to the
// user by the parent application, so they are fixed literals and never change wording.
#pragma once

namespace textport::delivery_messages {

// Refusals while verifying the captured target, in the order the checks run.
inline constexpr const char* kAccessibilityRequired =
    "需要辅助功能权限 / Accessibility permission required";
inline constexpr const char* kMissingTarget = "missing target";
inline constexpr const char* kInputFieldUnavailable =
    "未找到可用的输入框，结果已保留，请复制 / Input field unavailable; copy the result";
inline constexpr const char* kOriginalTargetExpired =
    "原目标已失效，请复制结果 / Original target expired";
inline constexpr const char* kActiveApplicationChanged =
    "当前应用已变化，结果已保留 / Active application changed";
inline constexpr const char* kConversationContextChanged =
    "窗口或会话操作已变化，请复制结果 / Conversation context changed; copy the result";
inline constexpr const char* kCannotFocusComposer =
    "无法聚焦消息输入框，请复制结果 / Could not focus the message field";
inline constexpr const char* kInputFieldChanged =
    "输入控件已变化，请复制结果 / Input field changed";
inline constexpr const char* kReviewSelectedInput =
    "输入框中存在选区，请复核后复制 / Review the selected input text";
inline constexpr const char* kTargetChanged =
    "目标或光标已变化，结果已保留，请复制 / Target changed; copy the result";

// Exits of the paste sequence, after the text was staged.
inline constexpr const char* kFocusChanged = "焦点发生变化，未发送粘贴 / Focus changed";
inline constexpr const char* kInteractionChanged =
    "会话操作已变化，未发送粘贴 / Conversation interaction changed";
inline constexpr const char* kEventCreationFailed = "无法生成输入事件";

// The one success word.
inline constexpr const char* kPasteSent = "paste_sent";

}  // namespace textport::delivery_messages
