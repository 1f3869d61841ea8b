// The printer object over QPrinter: print statements are laid out line by line in the chosen
// font; a form feed ends the page, and the next text starts a new one.
#include "platform/Adapters.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <stdexcept>

namespace station {
namespace {

class QtTextPrinter final : public TextPrinter {
public:
    QtTextPrinter() { m_printer.setDocName(QStringLiteral("VORNETerminal")); }

    std::vector<std::string> printers() override {
        std::vector<std::string> out;
        for (const auto& name : QPrinterInfo::availablePrinterNames())
            out.push_back(name.toStdString());
        return out;
    }

    void select(const std::string& name) override {
        const auto info = QPrinterInfo::printerInfo(QString::fromStdString(name));
        if (!info.isNull())
            m_printer.setPrinterName(info.printerName());
    }

    std::string current() override { return m_printer.printerName().toStdString(); }

    void setFont(const std::string& family, float size) override {
        m_font.setFamily(QString::fromStdString(family));
        // A size of 0 or less keeps the current size.
        if (size > 0)
            m_font.setPointSizeF(static_cast<double>(size));
        if (m_painter.isActive())
            m_painter.setFont(m_font);
    }

    void setOrientation(Orientation orientation) override {
        // Qt takes the orientation only for the next document.
        m_printer.setPageOrientation(orientation == Orientation::Landscape ? QPageLayout::Landscape
                                                                           : QPageLayout::Portrait);
    }

    void print(const std::string& text) override {
        begin();
        std::string line;
        bool endedByFormFeed = false;
        for (const char c : text) {
            endedByFormFeed = false;
            if (c == '\f') {
                drawLine(line);
                line.clear();
                m_pageDone = true;
                endedByFormFeed = true;
            } else if (c == '\n') {
                drawLine(line);
                line.clear();
                advance();
            } else if (c == '\t') {
                line.append(8 - line.size() % 8, ' ');
            } else if (c != '\r') {
                line += c;
            }
        }
        drawLine(line);
        // The statement ends its line; after a form feed the next text starts the new page anyway.
        if (!endedByFormFeed)
            advance();
    }

    void endDocument() override {
        if (m_painter.isActive())
            m_painter.end();
        m_pageDone = false;
    }

private:
    void begin() {
        if (m_painter.isActive())
            return;
        if (!m_painter.begin(&m_printer))
            throw std::runtime_error("the printer cannot be opened");
        m_painter.setFont(m_font);
        m_y = 0;
        m_pageDone = false;
    }

    void newPageIfDue() {
        if (!m_pageDone)
            return;
        m_printer.newPage();
        m_y = 0;
        m_pageDone = false;
    }

    void drawLine(const std::string& line) {
        if (line.empty())
            return;
        newPageIfDue();
        const QFontMetricsF metrics(m_painter.font(), &m_printer);
        if (m_y + metrics.height() > m_painter.viewport().height() && m_y > 0) {
            m_printer.newPage();
            m_y = 0;
        }
        m_painter.drawText(QPointF(0, m_y + metrics.ascent()),
                           QString::fromLatin1(line.data(), static_cast<qsizetype>(line.size())));
    }

    void advance() {
        newPageIfDue();
        const QFontMetricsF metrics(m_painter.font(), &m_printer);
        m_y += metrics.lineSpacing();
        if (m_y + metrics.height() > m_painter.viewport().height()) {
            m_printer.newPage();
            m_y = 0;
        }
    }

    QPrinter m_printer{QPrinter::HighResolution};
    QPainter m_painter;
    QFont m_font{QStringLiteral("courier"), 10};
    double m_y = 0;
    bool m_pageDone = false;
};

} // namespace

std::unique_ptr<TextPrinter> makeTextPrinter() {
    return std::make_unique<QtTextPrinter>();
}

} // namespace station
