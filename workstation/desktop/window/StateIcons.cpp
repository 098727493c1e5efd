#include "workstation/desktop/window/StateIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <array>

namespace workstation {
namespace {

// Seen well on a light ground and on a dark one.
constexpr QRgb kGreen = 0xff2e9e4f;
constexpr QRgb kBlue = 0xff2f7de1;
constexpr QRgb kOrange = 0xffc77700;
constexpr QRgb kRed = 0xffd9363e;
constexpr QRgb kGrey = 0xff868686;
constexpr QRgb kWhite = 0xffffffff;

constexpr int kSide = 16;
constexpr int kScale = 3;  // for screens of high density
constexpr qreal kStroke = 2.2;

/// Draws on a field of 16 by 16.
template <typename Drawing>
QPixmap pictureOf(QRgb color, Drawing&& drawing) {
  QPixmap picture(kSide * kScale, kSide * kScale);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(kScale, kScale);
  painter.setPen(QPen(QColor::fromRgba(color), kStroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  drawing(painter);
  painter.end();
  picture.setDevicePixelRatio(kScale);
  return picture;
}

/// In a selected row, whose ground has a colour of its own, white as its text.
template <typename Drawing>
QIcon draw(QRgb color, Drawing&& drawing) {
  QIcon icon(pictureOf(color, drawing));
  icon.addPixmap(pictureOf(kWhite, drawing), QIcon::Selected);
  return icon;
}

void line(QPainter& painter, const QPolygonF& points) {
  painter.drawPolyline(points);
}

void check(QPainter& painter) {
  line(painter, QPolygonF(QList<QPointF>{{3, 8.5}, {6.5, 12}, {13, 4.5}}));
}

void arrow(QPainter& painter, bool isUp) {
  if (!isUp) {
    painter.translate(0, kSide);
    painter.scale(1, -1);
  }
  line(painter, QPolygonF(QList<QPointF>{{8, 13.5}, {8, 3}}));
  line(painter, QPolygonF(QList<QPointF>{{3.5, 7.5}, {8, 3}, {12.5, 7.5}}));
}

void arrowFromBar(QPainter& painter, bool isUp) {
  line(painter, QPolygonF(isUp ? QList<QPointF>{{3, 14}, {13, 14}} : QList<QPointF>{{3, 2}, {13, 2}}));
  arrow(painter, isUp);
}

void warning(QPainter& painter) {
  painter.setBrush(Qt::NoBrush);
  painter.drawPolygon(QPolygonF(QList<QPointF>{{8, 2}, {14.5, 13.8}, {1.5, 13.8}}));
  line(painter, QPolygonF(QList<QPointF>{{8, 6.5}, {8, 9.2}}));
  painter.drawPoint(QPointF(8, 11.6));
}

void cross(QPainter& painter) {
  line(painter, QPolygonF(QList<QPointF>{{3.5, 3.5}, {12.5, 12.5}}));
  line(painter, QPolygonF(QList<QPointF>{{12.5, 3.5}, {3.5, 12.5}}));
}

void dash(QPainter& painter) {
  painter.drawEllipse(QRectF(2, 2, 12, 12));
  line(painter, QPolygonF(QList<QPointF>{{5.5, 8}, {10.5, 8}}));
}

void padlock(QPainter& painter, bool isFilled) {
  painter.drawArc(QRectF(4.8, 2, 6.4, 8), 0, 180 * 16);
  if (isFilled) painter.setBrush(painter.pen().color());
  painter.drawRoundedRect(QRectF(3, 7.5, 10, 6.5), 1, 1);
}

QIcon drawState(RowState state) {
  switch (state) {
    case RowState::Damaged:
      return draw(kRed, cross);
    case RowState::ChangedOnBoth:
      return draw(kRed, warning);
    case RowState::OlderInStore:
      return draw(kOrange, warning);
    case RowState::Unsent:
      return draw(kRed, [](QPainter& painter) {
        arrow(painter, true);
        line(painter, QPolygonF(QList<QPointF>{{2.5, 13.5}, {13.5, 13.5}}));
      });
    case RowState::ChangedHere:
      return draw(kOrange, [](QPainter& painter) { arrow(painter, true); });
    case RowState::OnlyHere:
      return draw(kOrange, [](QPainter& painter) { arrowFromBar(painter, true); });
    case RowState::NewerInStore:
      return draw(kBlue, [](QPainter& painter) { arrow(painter, false); });
    case RowState::OnlyInStore:
      return draw(kBlue, [](QPainter& painter) { arrowFromBar(painter, false); });
    case RowState::RemovedFromStore:
    case RowState::RemovedHere:
      return draw(kGrey, dash);
    case RowState::InStep:
      return draw(kGreen, check);
    case RowState::Unknown:
      break;
  }
  return draw(kGrey, [](QPainter& painter) { painter.drawEllipse(QRectF(4, 4, 8, 8)); });
}

}  // namespace

QIcon stateIcon(RowState state) {
  static std::array<QIcon, static_cast<std::size_t>(RowState::InStep) + 1> icons;
  QIcon& icon = icons[static_cast<std::size_t>(state)];
  if (icon.isNull()) icon = drawState(state);
  return icon;
}

QIcon lockIcon(bool isYours) {
  static const QIcon yours = draw(kGreen, [](QPainter& painter) { padlock(painter, true); });
  static const QIcon others = draw(kRed, [](QPainter& painter) { padlock(painter, false); });
  return isYours ? yours : others;
}

}  // namespace workstation
