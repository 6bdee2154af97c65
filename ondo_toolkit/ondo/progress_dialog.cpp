#include "ondo/progress_dialog.h"

namespace ondo {

progress_dialog::progress_dialog(QWidget* parent, Qt::WindowFlags flags) : QProgressDialog(parent, flags)
{
    setStyleSheet("*{color: rgb(198,213,210);  background-color: rgb(47,47,47);}"
                  "QProgressBar {border: 2px solid rgb(55,63,61); border-radius: 4px; text-align: center;}"
                  "QProgressBar::chunk {background-color: rgb(91,91,91); width: 5px;}");
}

} // namespace ondo
