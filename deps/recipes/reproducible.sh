# For recipes whose DLLs are shipped: the same sources give the same bytes, wherever and whenever they are built.
# No time is written into them, and no name of a build folder.
export SOURCE_DATE_EPOCH=315532800
WITHOUT_TIME=-Wl,--no-insert-timestamp
WITHOUT_FOLDER="-ffile-prefix-map=$SRC=$NAME"
