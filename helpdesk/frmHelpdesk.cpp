#include "helpdesk/frmHelpdesk.h"

namespace station {

frmHelpdesk::frmHelpdesk(StationState& state, QWidget* parent) : QDialog(parent), m_state(state) {
    setObjectName(QStringLiteral("frmHelpdesk"));
    setWindowTitle(QStringLiteral("VORNEOnline Helpdesk"));
    setAttribute(Qt::WA_DeleteOnClose);
}

} // namespace station
