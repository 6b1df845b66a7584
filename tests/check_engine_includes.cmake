# Fails when a file that belongs to tlm_engine includes a Qt GUI or widget header.
# Engine files are every .h/.cpp under src/ except src/app, *_form.*, *_widget.* and *_dialog.*.
file(GLOB_RECURSE files ${SRC}/*.h ${SRC}/*.cpp)
set(bad "")
foreach(f IN LISTS files)
  if(f MATCHES "/app/" OR f MATCHES "_form\\.(h|cpp)$" OR f MATCHES "_widget\\.(h|cpp)$"
     OR f MATCHES "_dialog\\.(h|cpp)$" OR f MATCHES "/desktop/gui_")
    continue()
  endif()
  file(STRINGS ${f} lines REGEX "^[ \t]*#[ \t]*include[ \t]*<(QtWidgets|QtGui|QtPrintSupport|QWidget|QDialog|QMessageBox|QApplication|QGuiApplication|QDesktopServices|QFileDialog|QPainter|QColor|QPrinter|QTableWidget)")
  if(lines)
    list(APPEND bad "${f}: ${lines}")
  endif()
endforeach()
if(bad)
  message(FATAL_ERROR "GUI headers in engine files:\n${bad}")
endif()
