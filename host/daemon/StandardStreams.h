#pragma once

/// Opens /dev/null for every standard stream that whoever started this process
/// left closed, so that no file opened later takes its number and receives what
/// is meant for the stream.
void openMissingStreams();
