#include "about/frmAbout.h"

namespace station {

frmAbout::frmAbout(StationState& state, QWidget* parent) : QDialog(parent), m_state(state) {
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About VORNETerminal"));
    setAttribute(Qt::WA_DeleteOnClose);
}

} // namespace station
