#pragma once

/// Fills, while files can still be opened, the process-wide state that a library reads
/// from a file on first use and that a confined service would otherwise go without:
/// GLib's random seed (/dev/urandom), from which the D-Bus GUIDs come. FFmpeg, Cairo and
/// the PNG writer read nothing from files once loaded, so they need no warming up.
void WarmUpLibrariesForConfinement();
