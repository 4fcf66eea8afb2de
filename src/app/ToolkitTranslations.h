#pragma once

namespace ToolkitTranslations {

/// Installs Qt's own translations for the user's language, so the dialogs Qt draws (the colour and file
/// dialogs, standard buttons) speak it. Brevlin's own texts stay as they are. Without a translation for
/// that language (or without the translations installed) nothing changes. Call once, after the application
/// object exists.
void install();

} // namespace ToolkitTranslations
