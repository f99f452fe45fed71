# What a component of one's own is built with: component vesk-dev.
include(GNUInstallDirs)
