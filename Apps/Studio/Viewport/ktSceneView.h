// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewTypes.h"

#include <functional>
#include <memory>
#include <OpenSG/OSGNode.h>
#include <QColor>
#include <QImage>
#include <QWidget>
#include <utility>
#include <vector>

struct ktSceneCamera;
class ktViewCamera;
class ktViewShapes;

/// Shows a scene of the host. Draws with OpenGL 3.3; where there is none, the host's ray tracer draws. Reads the scene
/// graph on the main thread, and changes nothing in it. Lengths are in world units (millimetres).
class ktSceneView : public QWidget {
    Q_OBJECT

public:
    /// Who draws.
    enum class Drawing { Automatic, RayTracer };

    explicit ktSceneView(QWidget* parent = nullptr, Drawing drawing = Drawing::Automatic);
    ~ktSceneView() override;

    /// Shows the tree below `root`; null shows nothing. Call it again after nodes were added, removed, moved, hidden or
    /// shown: geometry that was shown before is not uploaded again. Call it with null before the scene is destroyed.
    /// The camera stays, except that the first scene after an empty view is framed.
    void setScene(const OSG::NodePtr& root);
    /// The same for the scene that is shown, in pieces beside other work: the view shows what changed some time later.
    void setSceneBeside(const OSG::NodePtr& root);
    /// Copies the visible geometry of a scene, which is what takes longest in setScene(), and makes coarser triangles
    /// for the first picture of a small one. On any thread.
    /// @param isInterrupted ends it; may be empty
    static std::shared_ptr<ktViewShapes> readShapes(const OSG::NodePtr& root,
                                                    const std::function<bool()>& isInterrupted);
    /// Takes such copies. setScene() must follow at once.
    void takeShapes(ktViewShapes& copies);
    /// Forgets the copies of the scene that is shown, because it is about to end. setScene() must follow at once.
    void forgetShapes();
    /// Reads the result channels again. Other data of a geometry is read again only if the geometry was refined or its
    /// refinement was undone.
    void updateResults();
    /// Marks these nodes and all below them. Emits nothing.
    void setSelection(const std::vector<OSG::NodePtr>& nodes);

    void setViewMode(ktViewMode mode);
    ktViewMode viewMode() const;
    /// Draws the edges of the triangles over the surfaces. Not while the camera moves in a reduced picture.
    void setWireOverlay(bool shown);
    /// Lights surfaces softly from the eye. Off in a new view, because the light is baked.
    void setHeadlight(bool on);
    /// Factor on what is shown, above 0; 1 in a new view. False colours ignore it.
    void setExposure(double factor);
    /// Shows or hides the ground planes of the scene.
    void setGroundPlaneShown(bool shown);
    void setBackground(const QColor& top, const QColor& bottom);
    /// The background of a new view.
    void resetBackground();

    void setComparison(ktComparison comparison);
    /// Place of the divider, 0 (left) to 1 (right).
    void setDivider(double place);
    /// Keeps a copy of the results on the display, for ktComparison::EarlierResults. Call it before a bake.
    void keepResultsForComparison();
    /// Does ahead what takes long in the first picture: OpenGL starts and compiles. Takes some tenths of a second.
    void warmUp();
    bool isWarmingUp() const;
    /// While other work needs the processors, draws less at once, so that the event loop goes on.
    void setHurried(bool hurried);

    void frameAll();
    /// Frames the marked nodes; without marked nodes, all.
    void frameSelection();
    void setStandardView(ktStandardView view);
    void setParallelProjection(bool parallel);
    bool isParallelProjection() const;
    void setMouseStyle(ktMouseStyle style);
    /// What mouse and keys do in the view: pairs of what happens and what to press.
    std::vector<std::pair<QString, QString>> describeControls() const;
    /// Turns the camera around the scene, about 20 degrees a second, until switched off or moved by hand.
    void setTurntable(bool on);
    /// Takes the view of a camera of the file.
    void setFileCamera(const ktSceneCamera& camera);
    const ktViewCamera& camera() const;
    void setCamera(const ktViewCamera& camera);

    /// A ring of that radius around the point under the pointer; 0 hides it.
    void showRadiusRing(double radiusMillimetres);
    /// While on, clicks set the two ends of a distance, shown in the view, and do not pick. Shows a crosshair in the
    /// middle, at which Enter clicks.
    void setMeasuring(bool on);

    /// Draws the scene without marks and overlays, except the legend of false colours. Null if there is no memory.
    /// @param size pixels, at least 1 x 1, at most 16384 x 16384
    /// @param turn_degrees turns the camera around the scene, counterclockwise seen from above, for a series
    QImage renderPicture(const QSize& size, double turn_degrees = 0);

    /// Whether OpenGL draws; else the ray tracer does, without wires and comparison.
    bool usesOpenGL() const;
    /// Whether the view shows the present state in full quality.
    bool isSettled() const;

signals:
    /// A picture of the view is on the screen.
    void pictureShown();
    /// A click on a node, or on nothing (null).
    void nodePicked(OSG::NodePtr node, Qt::KeyboardModifiers modifiers);
    /// A rectangle was dragged over these nodes: those that are visible in it.
    void nodesPicked(std::vector<OSG::NodePtr> nodes, Qt::KeyboardModifiers modifiers);
    /// What is under the pointer, or the measured distance, as text for a status bar; empty for nothing.
    void pointerInfoChanged(QString text);

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    class Private;
    std::unique_ptr<Private> d;
};
