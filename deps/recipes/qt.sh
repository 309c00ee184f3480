# Widgets for the video windows: Core, Gui, Widgets and the Windows platform plug-in, without what is never used.
needs=""
. "$DEPS/recipes/reproducible.sh"
unpack() {
    rmdir "$SRC"
    set -- $FILES
    (cd "$(dirname "$1")" && dpkg-source --no-check -x "$1" "$SRC")
}
without_libraries="opengl dbus openssl icu glib sql-sqlite sql-odbc libpng libjpeg freetype harfbuzz gif ico"
# Debian's tarball lacks the third-party folders of accessibility and tabletevent; the rest has no use here: the panes
# are plain widgets and labels, coloured by a style sheet.
without_features="accessibility tabletevent sql network testlib printer concurrent xml pdf
    itemviews graphicsview graphicseffect textbrowser mainwindow mdiarea dockwidget toolbar statusbar filedialog
    colordialog fontdialog wizard calendarwidget dial lcdnumber fontcombobox combobox datetimeedit spinbox tabwidget
    tabbar toolbox completer fscompleter undocommand undostack undogroup undoview scroller gestures keysequenceedit
    errormessage progressdialog progressbar syntaxhighlighter splashscreen systemtrayicon statemachine sharedmemory
    systemsemaphore big_codecs jalalicalendar hijricalendar islamiccivilcalendar proxymodel sortfilterproxymodel
    identityproxymodel transposeproxymodel concatenatetablesproxymodel stringlistmodel standarditemmodel textodfwriter
    textmarkdownreader textmarkdownwriter movie picture style-fusion style-windowsvista imageformat_xbm
    imageformat_ppm commandlineparser mimetype filesystemwatcher processenvironment process whatsthis"
prepare() {
    sed -i "s|^QMAKE_LFLAGS_RELEASE .*|& $WITHOUT_TIME|" mkspecs/common/g++-win32.conf
    sed -i "s|-fno-keep-inline-dllexport|& $WITHOUT_FOLDER|" mkspecs/win32-g++/qmake.conf
}
configure() {
    local arguments=()
    for library in $without_libraries; do arguments+=("-no-$library"); done
    for feature in $without_features; do arguments+=("-no-feature-$feature"); done
    MAKEFLAGS="-j$JOBS" "$SRC/configure" -xplatform win32-g++ -device-option CROSS_COMPILE=$TARGET- \
        -prefix "$PREFIX" -extprefix "$PREFIX" -hostprefix "$PREFIX" -opensource -confirm-license -release -shared \
        -nomake examples -nomake tests -nomake tools -no-compile-examples \
        -qt-zlib -qt-pcre -qt-doubleconversion "${arguments[@]}"
}
build() { make -j "$JOBS"; }
install() { make install; }
