<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
    <context>
        <name>ktCalculationPanel</name>
        <message>
            <source>on</source>
            <translation>an</translation>
        </message>
        <message>
            <source>off</source>
            <translation>aus</translation>
        </message>
        <message>
            <source>Choices: %1</source>
            <translation>Auswahl: %1</translation>
        </message>
        <message>
            <source>Initially %1</source>
            <translation>Anfangs %1</translation>
        </message>
        <message>
            <source>At least %1</source>
            <translation>Mindestens %1</translation>
        </message>
        <message>
            <source>%1 to %2</source>
            <translation>%1 bis %2</translation>
        </message>
        <message>
            <source>Restore the initial value</source>
            <translation>Anfangswert wiederherstellen</translation>
        </message>
        <message>
            <source>Restore the initial value of %1</source>
            <translation>Anfangswert von %1 wiederherstellen</translation>
        </message>
        <message>
            <source>The minimum distance must be smaller than the maximum distance.</source>
            <translation>Der kleinste Abstand muss kleiner sein als der größte.</translation>
        </message>
        <message>
            <source>Without indirect light, the shadows of lights are black.</source>
            <translation>Ohne indirektes Licht sind die Schatten von Lampen schwarz.</translation>
        </message>
    </context>
    <context>
        <name>ktCalculationSettings</name>
        <message>
            <source>Indirect light</source>
            <translation>Indirektes Licht</translation>
        </message>
        <message>
            <source>Refinement</source>
            <translation>Verfeinerung</translation>
        </message>
        <message>
            <source>Shadows</source>
            <translation>Schatten</translation>
        </message>
        <message>
            <source>classic</source>
            <translation>klassisch</translation>
        </message>
        <message>
            <source>shadows</source>
            <translation>Schatten</translation>
        </message>
        <message>
            <source>light-and-shadows</source>
            <translation>Licht und Schatten</translation>
        </message>
        <message>
            <source>more rays a vertex: 64, 256, 1024, 2304, 4096, 16384</source>
            <translation>mehr Strahlen je Ecke: 64, 256, 1024, 2304, 4096, 16384</translation>
        </message>
        <message>
            <source>nearer surfaces do not occlude</source>
            <translation>nähere Flächen verdecken nicht</translation>
        </message>
        <message>
            <source>farther surfaces do not occlude</source>
            <translation>fernere Flächen verdecken nicht</translation>
        </message>
        <message>
            <source>bounced light</source>
            <translation>zurückgeworfenes Licht</translation>
        </message>
        <message>
            <source>more rays a vertex and bounce: 64, 256, 576, 1024, 2304</source>
            <translation>mehr Strahlen je Ecke und Reflexion: 64, 256, 576, 1024, 2304</translation>
        </message>
        <message>
            <source>, with 1024 rays</source>
            <translation>, mit 1024 Strahlen</translation>
        </message>
        <message>
            <source>how often light bounces</source>
            <translation>wie oft Licht zurückgeworfen wird</translation>
        </message>
        <message>
            <source>one colour for all surfaces that light bounces off</source>
            <translation>eine Farbe für alle Flächen, die Licht zurückwerfen</translation>
        </message>
        <message>
            <source>add vertices where the light changes</source>
            <translation>Ecken hinzufügen, wo sich das Licht ändert</translation>
        </message>
        <message>
            <source>finer: at most 2, 4 or 6 rounds</source>
            <translation>feiner: höchstens 2, 4 oder 6 Runden</translation>
        </message>
        <message>
            <source>shorter edges stay whole</source>
            <translation>kürzere Kanten bleiben ganz</translation>
        </message>
        <message>
            <source>change of light across an edge that splits it</source>
            <translation>Änderung des Lichts über eine Kante, die sie teilt</translation>
        </message>
        <message>
            <source>Mode</source>
            <translation>Art</translation>
        </message>
        <message>
            <source>Shadow quality</source>
            <translation>Schattengüte</translation>
        </message>
        <message>
            <source>Min distance</source>
            <translation>Kleinster Abstand</translation>
        </message>
        <message>
            <source>Max distance</source>
            <translation>Größter Abstand</translation>
        </message>
        <message>
            <source>Indirect</source>
            <translation>Indirekt</translation>
        </message>
        <message>
            <source>Gather quality</source>
            <translation>Sammelgüte</translation>
        </message>
        <message>
            <source>Bounces</source>
            <translation>Reflexionen</translation>
        </message>
        <message>
            <source>Color bleeding</source>
            <translation>Farben färben ab</translation>
        </message>
        <message>
            <source>Override colors</source>
            <translation>Eine Farbe für alle</translation>
        </message>
        <message>
            <source>Override color</source>
            <translation>Diese Farbe</translation>
        </message>
        <message>
            <source>Subdivide</source>
            <translation>Verfeinern</translation>
        </message>
        <message>
            <source>Subdivision quality</source>
            <translation>Güte der Verfeinerung</translation>
        </message>
        <message>
            <source>Min edge length</source>
            <translation>Kleinste Kantenlänge</translation>
        </message>
        <message>
            <source>Intensity threshold</source>
            <translation>Schwelle der Helligkeit</translation>
        </message>
        <message>
            <source>Refinement by indirect light alone changes no geometry: it needs a shadow quality of 2 or more as well.</source>
            <translation>Verfeinerung nur durch indirektes Licht ändert keine Geometrie: sie braucht auch eine Schattengüte von 2 oder mehr.</translation>
        </message>
        <message>
            <source>the sky alone; the scene&apos;s lights as well; their colours too</source>
            <translation>nur der Himmel; auch die Lampen der Szene; auch ihre Farben</translation>
        </message>
        <message>
            <source>bounced light takes the surfaces&apos; colours</source>
            <translation>zurückgeworfenes Licht nimmt die Farben der Flächen an</translation>
        </message>
    </context>
    <context>
        <name>ktCommandPalette</name>
        <message>
            <source>Commands</source>
            <translation>Befehle</translation>
        </message>
        <message>
            <source>Part of a command&apos;s name</source>
            <translation>Teil eines Befehlsnamens</translation>
        </message>
        <message>
            <source>No command that can be used now is called so.</source>
            <translation>Kein Befehl, der jetzt möglich ist, heißt so.</translation>
        </message>
    </context>
    <context>
        <name>ktEmptyPage</name>
        <message>
            <source>Open a scene to bake light into it</source>
            <translation>Eine Szene öffnen, um Licht hineinzubacken</translation>
        </message>
        <message>
            <source>Drop a file here, or choose one below. Then press Bake, look at the result, and save it.</source>
            <translation>Eine Datei hierher ziehen oder unten wählen. Dann „Backen“ drücken, das Ergebnis ansehen und speichern.</translation>
        </message>
        <message>
            <source>Open a scene…</source>
            <translation>Szene öffnen …</translation>
        </message>
        <message>
            <source>glTF, OBJ, PLY, STL, FBX, Collada and more</source>
            <translation>glTF, OBJ, PLY, STL, FBX, Collada und andere</translation>
        </message>
        <message>
            <source>Two-cylinder engine</source>
            <translation>Zweizylindermotor</translation>
        </message>
        <message>
            <source>An assembly of the package assimp-testmodels</source>
            <translation>Eine Baugruppe aus dem Paket assimp-testmodels</translation>
        </message>
        <message>
            <source>Room with two coloured walls</source>
            <translation>Zimmer mit zwei farbigen Wänden</translation>
        </message>
        <message>
            <source>An example for bounced light and lamps</source>
            <translation>Ein Beispiel für zurückgeworfenes Licht und Lampen</translation>
        </message>
        <message>
            <source>Car</source>
            <translation>Auto</translation>
        </message>
        <message>
            <source>An example for a ground plane and refinement</source>
            <translation>Ein Beispiel für eine Bodenebene und Verfeinerung</translation>
        </message>
        <message>
            <source>Recent files</source>
            <translation>Zuletzt geöffnet</translation>
        </message>
        <message>
            <source>The example scenes cannot be made: %1</source>
            <translation>Die Beispielszenen konnten nicht erzeugt werden: %1</translation>
        </message>
    </context>
    <context>
        <name>ktHistogram</name>
        <message>
            <source>How many vertices have which w: left 0, fully occluded; right 1, open</source>
            <translation>Wie viele Ecken welches w haben: links 0, ganz verdeckt; rechts 1, frei</translation>
        </message>
        <message>
            <source>Histogram of w</source>
            <translation>Histogramm von w</translation>
        </message>
    </context>
    <context>
        <name>ktHistoryPanel</name>
        <message>
            <source>As opened</source>
            <translation>Wie geöffnet</translation>
        </message>
        <message>
            <source>History</source>
            <translation>Verlauf</translation>
        </message>
        <message>
            <source>A click goes back or forward to that state. The icon marks what is saved.</source>
            <translation>Ein Klick geht zu diesem Stand zurück oder vor. Das Symbol zeigt, was gespeichert ist.</translation>
        </message>
    </context>
    <context>
        <name>ktHostSentences</name>
        <message>
            <source>The result is nearly all black.</source>
            <translation>Das Ergebnis ist fast ganz schwarz.</translation>
        </message>
        <message>
            <source>The result is nearly all white.</source>
            <translation>Das Ergebnis ist fast ganz weiß.</translation>
        </message>
        <message>
            <source>The lights are hidden, far away or weak; exposure scales their light.</source>
            <translation>Die Lichter sind verdeckt, weit weg oder schwach; die Belichtung skaliert ihr Licht.</translation>
        </message>
        <message>
            <source>Something hides the lights and the sky from nearly all surfaces.</source>
            <translation>Etwas verdeckt die Lichter und den Himmel vor fast allen Flächen.</translation>
        </message>
        <message>
            <source>Rays meet a surface within the maximum distance of %1 nearly everywhere.</source>
            <translation>Strahlen treffen fast überall innerhalb des größten Abstands von %1 auf eine Fläche.</translation>
        </message>
        <message>
            <source>Inside a closed room a smaller maximum distance helps, such as 10%.</source>
            <translation>In einem geschlossenen Raum hilft ein kleinerer größter Abstand, etwa 10 %.</translation>
        </message>
        <message>
            <source>Or the parts are inside out.</source>
            <translation>Oder die Teile sind von innen nach außen gekehrt.</translation>
        </message>
        <message>
            <source>The lights are bright; an exposure below 1 scales their light.</source>
            <translation>Die Lichter sind hell; eine Belichtung unter 1 skaliert ihr Licht.</translation>
        </message>
        <message>
            <source>Only surfaces within the maximum distance of %1 occlude, which is short for the scene&apos;s diagonal of %2.</source>
            <translation>Nur Flächen innerhalb des größten Abstands von %1 verdecken; das ist wenig für die Diagonale der Szene von %2.</translation>
        </message>
        <message>
            <source>Surfaces nearer than the minimum distance of %1 do not occlude, which is long for the scene&apos;s diagonal of %2.</source>
            <translation>Flächen, die näher sind als der kleinste Abstand von %1, verdecken nicht; das ist viel für die Diagonale der Szene von %2.</translation>
        </message>
        <message>
            <source>No surface hides the sky from another one, as on a single convex part.</source>
            <translation>Keine Fläche verdeckt einer anderen den Himmel, wie bei einem einzelnen konvexen Teil.</translation>
        </message>
        <message>
            <source>A ground plane (File, Reading options) adds a plane below that shows the shadow.</source>
            <translation>Eine Bodenebene (Datei, Lese-Optionen) zeigt darunter den Schatten.</translation>
        </message>
        <message>
            <source>The minimum distance of %1 is above the scene&apos;s diagonal of %2, so nothing occludes.</source>
            <translation>Der kleinste Abstand von %1 ist größer als die Diagonale der Szene von %2; darum verdeckt nichts.</translation>
        </message>
        <message>
            <source>The minimum distance of %1 is large for the scene&apos;s diagonal of %2: surfaces that are nearer do not occlude.</source>
            <translation>Der kleinste Abstand von %1 ist groß für die Diagonale der Szene von %2: Flächen, die näher sind, verdecken nicht.</translation>
        </message>
        <message>
            <source>The maximum distance of %1 is below a ten-thousandth of the scene&apos;s diagonal of %2, so hardly anything occludes.</source>
            <translation>Der größte Abstand von %1 ist kleiner als ein Zehntausendstel der Diagonale der Szene von %2; darum verdeckt kaum etwas.</translation>
        </message>
        <message>
            <source>Edges below %1 are not split, and the scene&apos;s diagonal of %2 is shorter, so nothing is refined.</source>
            <translation>Kanten unter %1 werden nicht geteilt, und die Diagonale der Szene von %2 ist kürzer; darum wird nichts verfeinert.</translation>
        </message>
    </context>
    <context>
        <name>ktLogPanel</name>
        <message>
            <source>Log</source>
            <translation>Protokoll</translation>
        </message>
        <message>
            <source>A click or Enter selects the part that a line names in quotes.</source>
            <translation>Ein Klick oder die Eingabetaste wählt das Teil aus, das eine Zeile in Anführungszeichen nennt.</translation>
        </message>
        <message>
            <source>Errors</source>
            <translation>Fehler</translation>
        </message>
        <message>
            <source>Warnings</source>
            <translation>Warnungen</translation>
        </message>
        <message>
            <source>Everything</source>
            <translation>Alles</translation>
        </message>
        <message>
            <source>Least severe level to show</source>
            <translation>Ab welcher Stufe Zeilen gezeigt werden</translation>
        </message>
        <message>
            <source>Filter</source>
            <translation>Filter</translation>
        </message>
        <message>
            <source>Copy</source>
            <translation>Kopieren</translation>
        </message>
        <message>
            <source>Copy the selected lines, or all</source>
            <translation>Die gewählten Zeilen kopieren, sonst alle</translation>
        </message>
        <message>
            <source>Clear</source>
            <translation>Leeren</translation>
        </message>
        <message>
            <source>Show only lines that contain this text</source>
            <translation>Nur Zeilen mit diesem Text zeigen</translation>
        </message>
        <message>
            <source>Remove all lines</source>
            <translation>Alle Zeilen entfernen</translation>
        </message>
    </context>
    <context>
        <name>ktMessageBar</name>
        <message>
            <source>Messages</source>
            <translation>Meldungen</translation>
        </message>
        <message>
            <source>Close this message</source>
            <translation>Diese Meldung schließen</translation>
        </message>
    </context>
    <context>
        <name>ktOptionPanel</name>
        <message>
            <source>Multiply light into the saved colours</source>
            <translation>Licht in die gespeicherten Farben multiplizieren</translation>
        </message>
        <message>
            <source>At the vertices</source>
            <translation>An den Ecken</translation>
        </message>
        <message>
            <source>Fitted to the surface</source>
            <translation>An die Fläche angepasst</translation>
        </message>
        <message>
            <source>Light at the vertices, or the vertex values whose interpolation shows the faces best</source>
            <translation>Licht an den Ecken, oder die Eckenwerte, deren Interpolation die Flächen am besten zeigt</translation>
        </message>
        <message>
            <source>Light</source>
            <translation>Licht</translation>
        </message>
        <message>
            <source>Embree</source>
            <translation>Embree</translation>
        </message>
        <message>
            <source>Hemisphere tracer</source>
            <translation>Halbkugel-Strahlverfolger</translation>
        </message>
        <message>
            <source>What follows the rays; the results are the same, to rounding</source>
            <translation>Was den Strahlen folgt; die Ergebnisse sind gleich, bis auf Rundung</translation>
        </message>
        <message>
            <source>Tracer</source>
            <translation>Strahlverfolger</translation>
        </message>
        <message>
            <source>One a core</source>
            <translation>Einer je Kern</translation>
        </message>
        <message>
            <source>Threads</source>
            <translation>Threads</translation>
        </message>
        <message>
            <source>No limit</source>
            <translation>Keine Grenze</translation>
        </message>
        <message>
            <source>With refinement and fitted light: how many triangles the scene may have, for example 200000, or 4x for four times as many as before. Refines where it pays most.</source>
            <translation>Mit Verfeinerung und angepasstem Licht: wie viele Dreiecke die Szene haben darf, zum Beispiel 200000, oder 4x für viermal so viele wie vorher. Verfeinert, wo es am meisten nützt.</translation>
        </message>
        <message>
            <source>Triangle limit</source>
            <translation>Grenze der Dreiecke</translation>
        </message>
        <message>
            <source>Every viewer then shows the light. Without it, the file has the exact results alone.</source>
            <translation>Dann zeigt jeder Betrachter das Licht. Sonst enthält die Datei nur die genauen Ergebnisse.</translation>
        </message>
        <message>
            <source>How strongly the light darkens the saved colours</source>
            <translation>Wie stark das Licht die gespeicherten Farben abdunkelt</translation>
        </message>
        <message>
            <source>Strength</source>
            <translation>Stärke</translation>
        </message>
        <message>
            <source>Scale of the light in the saved colours and in pictures</source>
            <translation>Faktor des Lichts in den gespeicherten Farben und in Bildern</translation>
        </message>
        <message>
            <source>Exposure</source>
            <translation>Belichtung</translation>
        </message>
        <message>
            <source>Light: %1</source>
            <translation>Licht: %1</translation>
        </message>
        <message>
            <source>Tracer: %1</source>
            <translation>Strahlverfolger: %1</translation>
        </message>
        <message>
            <source> MiB</source>
            <translation> MiB</translation>
        </message>
        <message>
            <source>Memory for results that undo brings back; beyond it, the oldest go into temporary files</source>
            <translation>Speicher für Ergebnisse, die „Rückgängig“ zurückholt; darüber hinaus kommen die ältesten in temporäre Dateien</translation>
        </message>
        <message>
            <source>Undo memory</source>
            <translation>Speicher für Rückgängig</translation>
        </message>
        <message>
            <source>As in the opened file</source>
            <translation>Wie in der geöffneten Datei</translation>
        </message>
        <message>
            <source>Draco</source>
            <translation>Draco</translation>
        </message>
        <message>
            <source>Meshopt</source>
            <translation>Meshopt</translation>
        </message>
        <message>
            <source>None</source>
            <translation>Keine</translation>
        </message>
        <message>
            <source>How the geometry of the saved file is compressed</source>
            <translation>Wie die Geometrie der gespeicherten Datei komprimiert wird</translation>
        </message>
        <message>
            <source>Compression</source>
            <translation>Kompression</translation>
        </message>
        <message>
            <source>Compression: %1</source>
            <translation>Kompression: %1</translation>
        </message>
        <message>
            <source>Threads of a bake; the results do not depend on their number</source>
            <translation>Threads beim Backen; die Ergebnisse hängen nicht von ihrer Zahl ab</translation>
        </message>
    </context>
    <context>
        <name>ktPartPanel</name>
        <message>
            <source>Use these settings</source>
            <translation>Diese Einstellungen benutzen</translation>
        </message>
        <message>
            <source>Add</source>
            <translation>Hinzufügen</translation>
        </message>
        <message>
            <source>Remove</source>
            <translation>Entfernen</translation>
        </message>
        <message>
            <source>Load the settings of this bake into the calculation</source>
            <translation>Die Einstellungen dieses Backens in die Berechnung laden</translation>
        </message>
        <message>
            <source>Text</source>
            <translation>Text</translation>
        </message>
        <message>
            <source>Value</source>
            <translation>Wert</translation>
        </message>
        <message>
            <source>Texts of the node</source>
            <translation>Texte des Knotens</translation>
        </message>
        <message>
            <source>name</source>
            <translation>Name</translation>
        </message>
        <message>
            <source>Nothing is selected.</source>
            <translation>Nichts ist ausgewählt.</translation>
        </message>
        <message numerus="yes">
            <source>%n parts</source>
            <translation>
                <numerusform>%n Teil</numerusform>
                <numerusform>%n Teile</numerusform>
            </translation>
        </message>
        <message>
            <source>Geometries: %1, vertices: %2, triangles: %3</source>
            <translation>Geometrien: %1, Ecken: %2, Dreiecke: %3</translation>
        </message>
        <message>
            <source>(%1 with all uses)</source>
            <translation>(%1 mit allen Verwendungen)</translation>
        </message>
        <message>
            <source>No results.</source>
            <translation>Keine Ergebnisse.</translation>
        </message>
        <message>
            <source>w: least %L1, mean %L2; %L3 % of the vertices are below %L4</source>
            <translation>w: kleinstes %L1, Mittel %L2; %L3 % der Ecken sind unter %L4</translation>
        </message>
        <message>
            <source>Last bake: %1</source>
            <translation>Zuletzt gebacken: %1</translation>
        </message>
        <message>
            <source>(without a name)</source>
            <translation>(ohne Namen)</translation>
        </message>
        <message>
            <source>%1 (transparent)</source>
            <translation>%1 (durchsichtig)</translation>
        </message>
        <message>
            <source>and %1 more</source>
            <translation>und %1 weitere</translation>
        </message>
        <message>
            <source>Materials: %1</source>
            <translation>Materialien: %1</translation>
        </message>
        <message>
            <source>Add a text to the node</source>
            <translation>Dem Knoten einen Text hinzufügen</translation>
        </message>
        <message>
            <source>Remove the current text</source>
            <translation>Den aktuellen Text entfernen</translation>
        </message>
        <message>
            <source>Texts that the file keeps with the node; a double click changes one</source>
            <translation>Texte, die die Datei beim Knoten bewahrt; ein Doppelklick ändert einen</translation>
        </message>
    </context>
    <context>
        <name>ktPictureDialog</name>
        <message>
            <source>Light it softly from the camera, too</source>
            <translation>Auch von der Kamera aus weich beleuchten</translation>
        </message>
        <message>
            <source>Preview picture</source>
            <translation>Vorschaubild</translation>
        </message>
        <message>
            <source>Picture of the view</source>
            <translation>Bild der Ansicht</translation>
        </message>
        <message>
            <source>Turntable</source>
            <translation>Drehteller</translation>
        </message>
        <message>
            <source>Width in pixels</source>
            <translation>Breite in Pixeln</translation>
        </message>
        <message>
            <source>Height in pixels</source>
            <translation>Höhe in Pixeln</translation>
        </message>
        <message>
            <source>pixels</source>
            <translation>Pixel</translation>
        </message>
        <message>
            <source>Size</source>
            <translation>Größe</translation>
        </message>
        <message>
            <source>A side of the scene, the first camera of the file, or a camera by its name</source>
            <translation>Eine Seite der Szene, die erste Kamera der Datei oder eine Kamera mit ihrem Namen</translation>
        </message>
        <message>
            <source>The files get the numbers 0001, 0002 and so on</source>
            <translation>Die Dateien bekommen die Nummern 0001, 0002 und so weiter</translation>
        </message>
        <message>
            <source>View</source>
            <translation>Ansicht</translation>
        </message>
        <message>
            <source>Pictures of a full turn</source>
            <translation>Bilder einer ganzen Drehung</translation>
        </message>
        <message>
            <source>Choose a file…</source>
            <translation>Datei wählen …</translation>
        </message>
    </context>
    <context>
        <name>ktPointerInfo</name>
        <message>
            <source>unnamed part</source>
            <translation>Teil ohne Namen</translation>
        </message>
        <message>
            <source>%1, vertex %2</source>
            <translation>%1, Ecke %2</translation>
        </message>
        <message>
            <source>%1, no result</source>
            <translation>%1, kein Ergebnis</translation>
        </message>
        <message>
            <source>%1, w %2, indirect light %3 %4 %5</source>
            <translation>%1, w %2, indirektes Licht %3 %4 %5</translation>
        </message>
    </context>
    <context>
        <name>ktPresetBar</name>
        <message>
            <source>Change presets</source>
            <translation>Vorlagen ändern</translation>
        </message>
        <message>
            <source>Presets</source>
            <translation>Vorlagen</translation>
        </message>
        <message>
            <source>Apply</source>
            <translation>Anwenden</translation>
        </message>
        <message>
            <source>Set all settings but the mode from the preset</source>
            <translation>Alle Einstellungen außer der Art aus der Vorlage setzen</translation>
        </message>
        <message>
            <source>Change</source>
            <translation>Ändern</translation>
        </message>
        <message>
            <source>Save, rename, delete and order presets</source>
            <translation>Vorlagen speichern, umbenennen, löschen und ordnen</translation>
        </message>
        <message>
            <source>Save the settings as…</source>
            <translation>Einstellungen speichern als …</translation>
        </message>
        <message>
            <source>Save the settings as a preset</source>
            <translation>Einstellungen als Vorlage speichern</translation>
        </message>
        <message>
            <source>Save the settings in this preset</source>
            <translation>Einstellungen in dieser Vorlage speichern</translation>
        </message>
        <message>
            <source>Rename…</source>
            <translation>Umbenennen …</translation>
        </message>
        <message>
            <source>Rename the preset</source>
            <translation>Vorlage umbenennen</translation>
        </message>
        <message>
            <source>Delete</source>
            <translation>Löschen</translation>
        </message>
        <message>
            <source>Move up</source>
            <translation>Nach oben</translation>
        </message>
        <message>
            <source>Move down</source>
            <translation>Nach unten</translation>
        </message>
        <message>
            <source>Restore the built-in presets</source>
            <translation>Mitgelieferte Vorlagen wiederherstellen</translation>
        </message>
        <message>
            <source>Name</source>
            <translation>Name</translation>
        </message>
        <message>
            <source>Settings that are kept under a name</source>
            <translation>Einstellungen, die unter einem Namen bewahrt werden</translation>
        </message>
    </context>
    <context>
        <name>ktReadingOptions</name>
        <message>
            <source>Give each use of a mesh its own results</source>
            <translation>Jeder Verwendung eines Netzes eigene Ergebnisse geben</translation>
        </message>
        <message>
            <source>Do not split vertices</source>
            <translation>Ecken nicht teilen</translation>
        </message>
        <message>
            <source>Put a plane below the scene that catches its shadow</source>
            <translation>Eine Ebene unter die Szene legen, die ihren Schatten auffängt</translation>
        </message>
        <message>
            <source>Reading options</source>
            <translation>Lese-Optionen</translation>
        </message>
        <message>
            <source>Length of one unit of the file; a number is a length in millimetres</source>
            <translation>Länge einer Einheit der Datei; eine Zahl ist eine Länge in Millimetern</translation>
        </message>
        <message>
            <source>as the file says</source>
            <translation>wie die Datei sagt</translation>
        </message>
        <message>
            <source>The axis of the file that points up</source>
            <translation>Die Achse der Datei, die nach oben zeigt</translation>
        </message>
        <message>
            <source>Surfaces without normals: edges up to this angle are smooth, vertices are split at sharper ones</source>
            <translation>Flächen ohne Normalen: Kanten bis zu diesem Winkel sind glatt, an schärferen werden Ecken geteilt</translation>
        </message>
        <message>
            <source>The sides of a sharp edge then share one value</source>
            <translation>Die Seiten einer scharfen Kante teilen sich dann einen Wert</translation>
        </message>
        <message>
            <source>Read again</source>
            <translation>Neu lesen</translation>
        </message>
        <message>
            <source>Unit</source>
            <translation>Einheit</translation>
        </message>
        <message>
            <source>Up</source>
            <translation>Oben</translation>
        </message>
        <message>
            <source>Crease angle</source>
            <translation>Knickwinkel</translation>
        </message>
    </context>
    <context>
        <name>ktReadingPage</name>
        <message>
            <source>Cancel</source>
            <translation>Abbrechen</translation>
        </message>
        <message>
            <source>%1 … %L2 s</source>
            <translation>%1 … %L2 s</translation>
        </message>
        <message>
            <source>Progress</source>
            <translation>Fortschritt</translation>
        </message>
    </context>
    <context>
        <name>ktRunPanel</name>
        <message>
            <source>Bake</source>
            <translation>Backen</translation>
        </message>
        <message>
            <source>Bake what is missing</source>
            <translation>Fehlendes backen</translation>
        </message>
        <message>
            <source>Cancel</source>
            <translation>Abbrechen</translation>
        </message>
        <message>
            <source>Calculate the light of the selected parts</source>
            <translation>Das Licht der ausgewählten Teile berechnen</translation>
        </message>
        <message>
            <source>Calculate only selected parts without results; the others keep theirs</source>
            <translation>Nur ausgewählte Teile ohne Ergebnisse berechnen; die anderen behalten ihre</translation>
        </message>
        <message>
            <source>Progress of the bake</source>
            <translation>Fortschritt des Backens</translation>
        </message>
        <message>
            <source>%1: %2</source>
            <translation>%1: %2</translation>
        </message>
        <message>
            <source>%1 rays/s</source>
            <translation>%1 Strahlen/s</translation>
        </message>
        <message>
            <source>At least %1 rays/s</source>
            <translation>Mindestens %1 Strahlen/s</translation>
        </message>
        <message>
            <source>%1 so far</source>
            <translation>%1 bisher</translation>
        </message>
        <message>
            <source>%1 left</source>
            <translation>noch %1</translation>
        </message>
        <message>
            <source>Nothing is selected.</source>
            <translation>Nichts ist ausgewählt.</translation>
        </message>
        <message>
            <source>At least %1 rays</source>
            <translation>Mindestens %1 Strahlen</translation>
        </message>
        <message>
            <source>About %1 rays</source>
            <translation>Etwa %1 Strahlen</translation>
        </message>
        <message>
            <source>About %1 rays, less than a second</source>
            <translation>Etwa %1 Strahlen, weniger als eine Sekunde</translation>
        </message>
        <message>
            <source>About %1 rays, roughly %2</source>
            <translation>Etwa %1 Strahlen, ungefähr %2</translation>
        </message>
        <message>
            <source>Stop the bake; parts that are finished keep their new results</source>
            <translation>Das Backen anhalten; fertige Teile behalten ihre neuen Ergebnisse</translation>
        </message>
    </context>
    <context>
        <name>ktSceneModel</name>
        <message>
            <source>missing</source>
            <translation>fehlt</translation>
        </message>
        <message>
            <source>%1 of %2</source>
            <translation>%1 von %2</translation>
        </message>
        <message>
            <source>yes</source>
            <translation>ja</translation>
        </message>
        <message>
            <source>Name</source>
            <translation>Name</translation>
        </message>
        <message>
            <source>Shown</source>
            <translation>Sichtbar</translation>
        </message>
        <message>
            <source>Locked</source>
            <translation>Gesperrt</translation>
        </message>
        <message>
            <source>Results</source>
            <translation>Ergebnisse</translation>
        </message>
        <message>
            <source>Settings</source>
            <translation>Einstellungen</translation>
        </message>
        <message>
            <source>Triangles</source>
            <translation>Dreiecke</translation>
        </message>
        <message>
            <source>Shown: hidden parts occlude nothing and get no results</source>
            <translation>Sichtbar: ausgeblendete Teile verdecken nichts und bekommen keine Ergebnisse</translation>
        </message>
        <message>
            <source>Locked: results of locked parts do not change</source>
            <translation>Gesperrt: Ergebnisse gesperrter Teile ändern sich nicht</translation>
        </message>
        <message>
            <source>Whether the surfaces at and below this node have results</source>
            <translation>Ob die Flächen an und unter diesem Knoten Ergebnisse haben</translation>
        </message>
        <message>
            <source>Settings: whether the node keeps those of its last bake</source>
            <translation>Einstellungen: ob der Knoten die seines letzten Backens hält</translation>
        </message>
    </context>
    <context>
        <name>ktScenePanel</name>
        <message>
            <source>Find parts</source>
            <translation>Teile finden</translation>
        </message>
        <message>
            <source>Select by name or path: wheel, body/door*</source>
            <translation>Nach Name oder Pfad auswählen: wheel, body/door*</translation>
        </message>
        <message>
            <source>Enter selects all nodes of this name, else those of a path with the wildcards *, ? and [...]</source>
            <translation>Die Eingabetaste wählt alle Knoten dieses Namens aus, sonst die eines Pfades mit den Platzhaltern *, ? und [...]</translation>
        </message>
        <message>
            <source>Scene</source>
            <translation>Szene</translation>
        </message>
        <message>
            <source>Nothing is called so.</source>
            <translation>Nichts heißt so.</translation>
        </message>
        <message numerus="yes">
            <source>%n selected</source>
            <translation>
                <numerusform>%n ausgewählt</numerusform>
                <numerusform>%n ausgewählt</numerusform>
            </translation>
        </message>
        <message>
            <source>Bake</source>
            <translation>Backen</translation>
        </message>
        <message>
            <source>Bake what is missing</source>
            <translation>Fehlendes backen</translation>
        </message>
        <message>
            <source>Select what is missing below</source>
            <translation>Fehlendes darunter auswählen</translation>
        </message>
        <message>
            <source>Hide</source>
            <translation>Ausblenden</translation>
        </message>
        <message>
            <source>Show</source>
            <translation>Einblenden</translation>
        </message>
        <message>
            <source>Lock</source>
            <translation>Sperren</translation>
        </message>
        <message>
            <source>Unlock</source>
            <translation>Entsperren</translation>
        </message>
        <message>
            <source>Use the settings of its last bake</source>
            <translation>Die Einstellungen seines letzten Backens benutzen</translation>
        </message>
        <message>
            <source>Expand to the selection</source>
            <translation>Bis zur Auswahl aufklappen</translation>
        </message>
        <message>
            <source>What is selected here is baked</source>
            <translation>Was hier ausgewählt ist, wird gebacken</translation>
        </message>
    </context>
    <context>
        <name>ktSceneView</name>
        <message>
            <source>There is no OpenGL 3.3 here. The ray tracer draws instead.</source>
            <translation>Hier gibt es kein OpenGL 3.3. Stattdessen zeichnet der Strahlverfolger.</translation>
        </message>
        <message>
            <source>Distance %1</source>
            <translation>Abstand %1</translation>
        </message>
        <message>
            <source>Viewport</source>
            <translation>Ansichtsfenster</translation>
        </message>
        <message>
            <source>Shows the scene. Arrow keys orbit, Shift and arrow keys pan, plus and minus zoom. Alt and arrow keys move a crosshair, and Enter clicks at it.</source>
            <translation>Zeigt die Szene. Pfeiltasten drehen, Umschalt und Pfeiltasten verschieben, Plus und Minus vergrößern. Alt und Pfeiltasten bewegen ein Fadenkreuz, und die Eingabetaste klickt dort.</translation>
        </message>
    </context>
    <context>
        <name>ktScriptInput</name>
        <message>
            <source>Python: kthost.bake()</source>
            <translation>Python: kthost.bake()</translation>
        </message>
        <message>
            <source>Python statements</source>
            <translation>Python-Anweisungen</translation>
        </message>
    </context>
    <context>
        <name>ktScriptPanel</name>
        <message>
            <source>Output of the statements</source>
            <translation>Ausgabe der Anweisungen</translation>
        </message>
        <message>
            <source>Run a file…</source>
            <translation>Datei ausführen …</translation>
        </message>
        <message>
            <source>Cancel</source>
            <translation>Abbrechen</translation>
        </message>
        <message>
            <source>Clear</source>
            <translation>Leeren</translation>
        </message>
        <message>
            <source>This ktstudio was built without Python.</source>
            <translation>Dieses ktstudio wurde ohne Python gebaut.</translation>
        </message>
        <message>
            <source>Run a Python file</source>
            <translation>Python-Datei ausführen</translation>
        </message>
        <message>
            <source>Python (*.py);;All files (*)</source>
            <translation>Python (*.py);;Alle Dateien (*)</translation>
        </message>
        <message>
            <source>Run a Python script with the scene of this window</source>
            <translation>Ein Python-Skript mit der Szene dieses Fensters ausführen</translation>
        </message>
        <message>
            <source>Stop the statements that run</source>
            <translation>Die laufenden Anweisungen anhalten</translation>
        </message>
        <message>
            <source>Remove what was printed</source>
            <translation>Die Ausgabe entfernen</translation>
        </message>
        <message>
            <source>Python: Enter runs a statement, Tab completes a name, up and down bring earlier ones</source>
            <translation>Python: Eingabe führt eine Anweisung aus, Tab ergänzt einen Namen, Auf und Ab bringen frühere</translation>
        </message>
    </context>
    <context>
        <name>ktShortcutDialog</name>
        <message>
            <source>Keyboard shortcuts</source>
            <translation>Tastenkürzel</translation>
        </message>
        <message>
            <source>What it does</source>
            <translation>Was geschieht</translation>
        </message>
        <message>
            <source>Keys</source>
            <translation>Tasten</translation>
        </message>
        <message>
            <source>Commands</source>
            <translation>Befehle</translation>
        </message>
        <message>
            <source>In the picture</source>
            <translation>Im Bild</translation>
        </message>
    </context>
    <context>
        <name>ktStudioDocument</name>
        <message>
            <source>%1 is no unit of length.</source>
            <translation>%1 ist keine Längeneinheit.</translation>
        </message>
        <message>
            <source>Reading %1</source>
            <translation>%1 wird gelesen</translation>
        </message>
        <message>
            <source>%1 was not opened: cancelled.</source>
            <translation>%1 wurde nicht geöffnet: abgebrochen.</translation>
        </message>
        <message>
            <source>Reading pictures</source>
            <translation>Bilder werden gelesen</translation>
        </message>
        <message>
            <source>Saving %1</source>
            <translation>%1 wird gespeichert</translation>
        </message>
        <message>
            <source>%1 was not saved: cancelled.</source>
            <translation>%1 wurde nicht gespeichert: abgebrochen.</translation>
        </message>
        <message>
            <source>Drawing %1</source>
            <translation>%1 wird gezeichnet</translation>
        </message>
        <message>
            <source>%1: the picture cannot be written: %2</source>
            <translation>%1: das Bild kann nicht geschrieben werden: %2</translation>
        </message>
        <message>
            <source>Add %1</source>
            <translation>%1 hinzufügen</translation>
        </message>
        <message numerus="yes">
            <source>Add %n files</source>
            <translation>
                <numerusform>%n Datei hinzufügen</numerusform>
                <numerusform>%n Dateien hinzufügen</numerusform>
            </translation>
        </message>
    </context>
    <context>
        <name>ktStudioEdit</name>
        <message>
            <source>(surface)</source>
            <translation>(Fläche)</translation>
        </message>
        <message>
            <source>(group)</source>
            <translation>(Gruppe)</translation>
        </message>
        <message>
            <source>Hide</source>
            <translation>Ausblenden</translation>
        </message>
        <message>
            <source>Show</source>
            <translation>Einblenden</translation>
        </message>
        <message>
            <source>Show everything</source>
            <translation>Alles einblenden</translation>
        </message>
        <message>
            <source>Lock</source>
            <translation>Sperren</translation>
        </message>
        <message>
            <source>Unlock</source>
            <translation>Entsperren</translation>
        </message>
        <message>
            <source>Change a text</source>
            <translation>Text ändern</translation>
        </message>
        <message>
            <source>Remove a text</source>
            <translation>Text entfernen</translation>
        </message>
        <message>
            <source>Rename a text</source>
            <translation>Text umbenennen</translation>
        </message>
    </context>
    <context>
        <name>ktStudioPresets</name>
        <message>
            <source>Save preset %1</source>
            <translation>Vorlage %1 speichern</translation>
        </message>
        <message>
            <source>Rename preset %1</source>
            <translation>Vorlage %1 umbenennen</translation>
        </message>
        <message>
            <source>Delete preset %1</source>
            <translation>Vorlage %1 löschen</translation>
        </message>
        <message>
            <source>Move preset %1</source>
            <translation>Vorlage %1 verschieben</translation>
        </message>
        <message>
            <source>Restore built-in presets</source>
            <translation>Mitgelieferte Vorlagen wiederherstellen</translation>
        </message>
    </context>
    <context>
        <name>ktStudioRecovery</name>
        <message>
            <source>Keeping a copy for a recovery</source>
            <translation>Bewahrt eine Kopie zur Wiederherstellung</translation>
        </message>
    </context>
    <context>
        <name>ktStudioRun</name>
        <message>
            <source>Memory runs out while pictures are read.</source>
            <translation>Beim Lesen der Bilder reicht der Speicher nicht.</translation>
        </message>
        <message>
            <source>Refining: round %1 of %2, %3 new vertices</source>
            <translation>Verfeinern: Runde %1 von %2, %3 neue Ecken</translation>
        </message>
        <message>
            <source>Preparing</source>
            <translation>Vorbereitung</translation>
        </message>
        <message>
            <source>Shadows</source>
            <translation>Schatten</translation>
        </message>
        <message>
            <source>Bounces</source>
            <translation>Reflexionen</translation>
        </message>
        <message>
            <source>Ray tracing is not available. The log says why.</source>
            <translation>Strahlverfolgung ist nicht verfügbar. Das Protokoll sagt, warum.</translation>
        </message>
        <message>
            <source>Bake what is missing</source>
            <translation>Fehlendes backen</translation>
        </message>
        <message>
            <source>Bake</source>
            <translation>Backen</translation>
        </message>
        <message>
            <source>Bake, not to its end</source>
            <translation>Backen, nicht zu Ende</translation>
        </message>
        <message>
            <source>Clear shadows</source>
            <translation>Schatten löschen</translation>
        </message>
        <message>
            <source>Clear indirect light</source>
            <translation>Indirektes Licht löschen</translation>
        </message>
    </context>
    <context>
        <name>ktStudioScripts</name>
        <message>
            <source>This ktstudio was built without Python.</source>
            <translation>Dieses ktstudio wurde ohne Python gebaut.</translation>
        </message>
    </context>
    <context>
        <name>ktStudioWindow</name>
        <message>
            <source>False colours</source>
            <translation>Falschfarben</translation>
        </message>
        <message>
            <source>Colours</source>
            <translation>Farben</translation>
        </message>
        <message>
            <source>Light</source>
            <translation>Licht</translation>
        </message>
        <message>
            <source>Indirect</source>
            <translation>Indirekt</translation>
        </message>
        <message>
            <source>Occlusion</source>
            <translation>Verdeckung</translation>
        </message>
        <message>
            <source>Baked</source>
            <translation>Gebacken</translation>
        </message>
        <message>
            <source>Undo</source>
            <translation>Rückgängig</translation>
        </message>
        <message>
            <source>Redo</source>
            <translation>Wiederholen</translation>
        </message>
        <message>
            <source>Saved as %1</source>
            <translation>Gespeichert als %1</translation>
        </message>
        <message>
            <source>%1 has changed on disk.</source>
            <translation>%1 hat sich auf der Platte geändert.</translation>
        </message>
        <message>
            <source>Read again</source>
            <translation>Neu lesen</translation>
        </message>
        <message>
            <source>Select everything</source>
            <translation>Alles auswählen</translation>
        </message>
        <message>
            <source>There is nothing to bake: open a scene first.</source>
            <translation>Es gibt nichts zu backen: zuerst eine Szene öffnen.</translation>
        </message>
        <message>
            <source>Open…</source>
            <translation>Öffnen …</translation>
        </message>
        <message>
            <source>Nothing is selected. Select the parts to bake in the scene or in the picture, or bake everything.</source>
            <translation>Nichts ist ausgewählt. Die zu backenden Teile in der Szene oder im Bild auswählen, oder alles backen.</translation>
        </message>
        <message>
            <source>Bake everything</source>
            <translation>Alles backen</translation>
        </message>
        <message>
            <source>Every selected part is locked. Unlock it (Edit, Unlock), or select other parts.</source>
            <translation>Jedes ausgewählte Teil ist gesperrt. Entsperren (Bearbeiten, Entsperren) oder andere Teile auswählen.</translation>
        </message>
        <message>
            <source>The minimum distance must be smaller than the maximum distance.</source>
            <translation>Der kleinste Abstand muss kleiner sein als der größte.</translation>
        </message>
        <message>
            <source>This mode needs a light, and no visible light of the scene shines. Choose the mode classic.</source>
            <translation>Diese Art braucht eine Lampe, und keine sichtbare Lampe der Szene leuchtet. Die Art „klassisch“ wählen.</translation>
        </message>
        <message>
            <source>Nothing is missing: the selected parts have their results.</source>
            <translation>Nichts fehlt: die ausgewählten Teile haben ihre Ergebnisse.</translation>
        </message>
        <message>
            <source>The selection holds no geometry to calculate. Select a part with surfaces.</source>
            <translation>Die Auswahl enthält keine Geometrie zum Berechnen. Ein Teil mit Flächen auswählen.</translation>
        </message>
        <message>
            <source>Baked in %1.</source>
            <translation>Gebacken in %1.</translation>
        </message>
        <message>
            <source>Cancelled. Parts that were finished keep their new results; the others are as before.</source>
            <translation>Abgebrochen. Fertige Teile behalten ihre neuen Ergebnisse; die anderen sind wie vorher.</translation>
        </message>
        <message>
            <source>The bake failed: %1</source>
            <translation>Das Backen ist fehlgeschlagen: %1</translation>
        </message>
        <message>
            <source>Scene</source>
            <translation>Szene</translation>
        </message>
        <message>
            <source>Part</source>
            <translation>Teil</translation>
        </message>
        <message>
            <source>Bake</source>
            <translation>Backen</translation>
        </message>
        <message>
            <source>Calculation</source>
            <translation>Berechnung</translation>
        </message>
        <message>
            <source>Options</source>
            <translation>Optionen</translation>
        </message>
        <message>
            <source>Log</source>
            <translation>Protokoll</translation>
        </message>
        <message>
            <source>History</source>
            <translation>Verlauf</translation>
        </message>
        <message>
            <source>Script</source>
            <translation>Skript</translation>
        </message>
        <message>
            <source>&amp;Restore the layout</source>
            <translation>Anordnung &amp;wiederherstellen</translation>
        </message>
        <message>
            <source>&amp;Help</source>
            <translation>&amp;Hilfe</translation>
        </message>
        <message>
            <source>&amp;Commands…</source>
            <translation>&amp;Befehle …</translation>
        </message>
        <message>
            <source>&amp;Keyboard shortcuts</source>
            <translation>&amp;Tastenkürzel</translation>
        </message>
        <message>
            <source>&amp;About ktstudio</source>
            <translation>Ü&amp;ber ktstudio</translation>
        </message>
        <message>
            <source>About ktstudio</source>
            <translation>Über ktstudio</translation>
        </message>
        <message>
            <source>&lt;b&gt;ktstudio %1&lt;/b&gt;&lt;p&gt;Bakes ambient occlusion and bounced light into the vertices of a scene.&lt;p&gt;Licence: LGPL 2.1 or later</source>
            <translation>&lt;b&gt;ktstudio %1&lt;/b&gt;&lt;p&gt;Backt Umgebungsverdeckung und zurückgeworfenes Licht in die Ecken einer Szene.&lt;p&gt;Lizenz: LGPL 2.1 oder neuer</translation>
        </message>
        <message>
            <source>Added. Only what is selected is baked; everything casts shadows. Select the new parts, too, to bake them.</source>
            <translation>Hinzugefügt. Nur was ausgewählt ist, wird gebacken; alles wirft Schatten. Die neuen Teile auch auswählen, um sie zu backen.</translation>
        </message>
        <message>
            <source>Add files to the scene</source>
            <translation>Dateien zur Szene hinzufügen</translation>
        </message>
        <message>
            <source>Open a scene</source>
            <translation>Szene öffnen</translation>
        </message>
        <message>
            <source>Save the baked scene</source>
            <translation>Gebackene Szene speichern</translation>
        </message>
        <message>
            <source>glTF, one file (*.glb);;glTF, with separate data (*.gltf)</source>
            <translation>glTF, eine Datei (*.glb);;glTF, mit getrennten Daten (*.gltf)</translation>
        </message>
        <message>
            <source>%L1 m (unit: %2)</source>
            <translation>%L1 m (Einheit: %2)</translation>
        </message>
        <message>
            <source>The file does not say how large the scene is. Its diagonal is taken for 3 m. Is it another size?</source>
            <translation>Die Datei sagt nicht, wie groß die Szene ist. Ihre Diagonale gilt als 3 m. Ist sie anders groß?</translation>
        </message>
        <message>
            <source>z points up</source>
            <translation>z zeigt nach oben</translation>
        </message>
        <message>
            <source>The file does not say which axis points up. y is taken for it.</source>
            <translation>Die Datei sagt nicht, welche Achse nach oben zeigt. Als solche gilt y.</translation>
        </message>
        <message>
            <source>The file does not say how large the scene is, and which axis points up. Its diagonal is taken for 3 m, and y for up. Is it different?</source>
            <translation>Die Datei sagt nicht, wie groß die Szene ist und welche Achse nach oben zeigt. Ihre Diagonale gilt als 3 m, und y als oben. Ist es anders?</translation>
        </message>
        <message>
            <source>%1 was baked at %2 and not saved before ktstudio ended.</source>
            <translation>%1 wurde am %2 gebacken und nicht gespeichert, bevor ktstudio endete.</translation>
        </message>
        <message>
            <source>Open the copy</source>
            <translation>Kopie öffnen</translation>
        </message>
        <message>
            <source>Discard it</source>
            <translation>Verwerfen</translation>
        </message>
        <message>
            <source>Unsaved changes</source>
            <translation>Ungespeicherte Änderungen</translation>
        </message>
        <message>
            <source>%1 has baked light or other changes that are not saved.</source>
            <translation>%1 hat gebackenes Licht oder andere Änderungen, die nicht gespeichert sind.</translation>
        </message>
        <message>
            <source>&amp;File</source>
            <translation>&amp;Datei</translation>
        </message>
        <message>
            <source>Main</source>
            <translation>Haupt</translation>
        </message>
        <message>
            <source>&amp;Open…</source>
            <translation>Ö&amp;ffnen …</translation>
        </message>
        <message>
            <source>A&amp;dd files…</source>
            <translation>Dateien &amp;hinzufügen …</translation>
        </message>
        <message>
            <source>Add parts or surroundings to the open scene</source>
            <translation>Teile oder Umgebung zur offenen Szene hinzufügen</translation>
        </message>
        <message>
            <source>Open &amp;recent</source>
            <translation>&amp;Zuletzt geöffnet</translation>
        </message>
        <message>
            <source>Clear this list</source>
            <translation>Diese Liste leeren</translation>
        </message>
        <message>
            <source>Read &amp;again</source>
            <translation>&amp;Neu lesen</translation>
        </message>
        <message>
            <source>Reading op&amp;tions…</source>
            <translation>&amp;Lese-Optionen …</translation>
        </message>
        <message>
            <source>&amp;Save</source>
            <translation>&amp;Speichern</translation>
        </message>
        <message>
            <source>Save the scene with its baked light</source>
            <translation>Die Szene mit ihrem gebackenen Licht speichern</translation>
        </message>
        <message>
            <source>Save &amp;as…</source>
            <translation>Speichern &amp;unter …</translation>
        </message>
        <message>
            <source>Save the &amp;view as a picture…</source>
            <translation>Ansicht als &amp;Bild speichern …</translation>
        </message>
        <message>
            <source>Save a &amp;turntable…</source>
            <translation>&amp;Drehteller speichern …</translation>
        </message>
        <message>
            <source>Save a &amp;preview picture…</source>
            <translation>&amp;Vorschaubild speichern …</translation>
        </message>
        <message>
            <source>Save stat&amp;istics…</source>
            <translation>S&amp;tatistik speichern …</translation>
        </message>
        <message>
            <source>&amp;Quit</source>
            <translation>&amp;Beenden</translation>
        </message>
        <message>
            <source>&amp;Edit</source>
            <translation>&amp;Bearbeiten</translation>
        </message>
        <message>
            <source>&amp;Undo</source>
            <translation>&amp;Rückgängig</translation>
        </message>
        <message>
            <source>&amp;Redo</source>
            <translation>&amp;Wiederholen</translation>
        </message>
        <message>
            <source>&amp;Undo: %1</source>
            <translation>&amp;Rückgängig: %1</translation>
        </message>
        <message>
            <source>&amp;Redo: %1</source>
            <translation>&amp;Wiederholen: %1</translation>
        </message>
        <message>
            <source>Select &amp;everything</source>
            <translation>&amp;Alles auswählen</translation>
        </message>
        <message>
            <source>Select &amp;nothing</source>
            <translation>&amp;Nichts auswählen</translation>
        </message>
        <message>
            <source>&amp;Find…</source>
            <translation>&amp;Suchen …</translation>
        </message>
        <message>
            <source>Select what is &amp;missing</source>
            <translation>&amp;Fehlendes auswählen</translation>
        </message>
        <message>
            <source>&amp;Hide</source>
            <translation>A&amp;usblenden</translation>
        </message>
        <message>
            <source>Sho&amp;w</source>
            <translation>&amp;Einblenden</translation>
        </message>
        <message>
            <source>Show everything</source>
            <translation>Alles einblenden</translation>
        </message>
        <message>
            <source>&amp;Lock</source>
            <translation>S&amp;perren</translation>
        </message>
        <message>
            <source>Unloc&amp;k</source>
            <translation>En&amp;tsperren</translation>
        </message>
        <message>
            <source>&amp;Bake</source>
            <translation>&amp;Backen</translation>
        </message>
        <message>
            <source>Calculate the light of the selected parts</source>
            <translation>Das Licht der ausgewählten Teile berechnen</translation>
        </message>
        <message>
            <source>Bake what is &amp;missing</source>
            <translation>&amp;Fehlendes backen</translation>
        </message>
        <message>
            <source>&amp;Cancel</source>
            <translation>&amp;Abbrechen</translation>
        </message>
        <message>
            <source>&amp;Use the settings of the selected part</source>
            <translation>&amp;Einstellungen des ausgewählten Teils benutzen</translation>
        </message>
        <message>
            <source>Clear &amp;shadows</source>
            <translation>&amp;Schatten löschen</translation>
        </message>
        <message>
            <source>Clear &amp;indirect light</source>
            <translation>&amp;Indirektes Licht löschen</translation>
        </message>
        <message>
            <source>there is not enough memory</source>
            <translation>es gibt nicht genug Speicher</translation>
        </message>
        <message>
            <source>%1 was not written: %2</source>
            <translation>%1 wurde nicht geschrieben: %2</translation>
        </message>
        <message>
            <source>Save a picture</source>
            <translation>Bild speichern</translation>
        </message>
        <message>
            <source>PNG (*.png)</source>
            <translation>PNG (*.png)</translation>
        </message>
        <message>
            <source>Drawing %1</source>
            <translation>%1 wird gezeichnet</translation>
        </message>
        <message>
            <source>cancelled</source>
            <translation>abgebrochen</translation>
        </message>
        <message numerus="yes">
            <source>%n pictures of a turn were saved in %1</source>
            <translation>
                <numerusform>%n Bild einer Drehung wurde in %1 gespeichert</numerusform>
                <numerusform>%n Bilder einer Drehung wurden in %1 gespeichert</numerusform>
            </translation>
        </message>
        <message>
            <source>Save the statistics</source>
            <translation>Statistik speichern</translation>
        </message>
        <message>
            <source>JSON (*.json)</source>
            <translation>JSON (*.json)</translation>
        </message>
        <message>
            <source>&amp;View</source>
            <translation>&amp;Ansicht</translation>
        </message>
        <message>
            <source>View</source>
            <translation>Ansicht</translation>
        </message>
        <message>
            <source>&amp;Baked</source>
            <translation>&amp;Gebacken</translation>
        </message>
        <message>
            <source>&amp;Occlusion alone</source>
            <translation>Nur &amp;Verdeckung</translation>
        </message>
        <message>
            <source>&amp;Indirect light alone</source>
            <translation>Nur &amp;indirektes Licht</translation>
        </message>
        <message>
            <source>Baked &amp;light</source>
            <translation>Gebackenes &amp;Licht</translation>
        </message>
        <message>
            <source>Surface &amp;colours</source>
            <translation>&amp;Oberflächenfarben</translation>
        </message>
        <message>
            <source>&amp;False colours</source>
            <translation>&amp;Falschfarben</translation>
        </message>
        <message>
            <source>&amp;Edges</source>
            <translation>&amp;Kanten</translation>
        </message>
        <message>
            <source>&amp;Headlight</source>
            <translation>Kopf&amp;licht</translation>
        </message>
        <message>
            <source>&amp;Ground plane</source>
            <translation>&amp;Bodenebene</translation>
        </message>
        <message>
            <source>&amp;Nothing</source>
            <translation>&amp;Nichts</translation>
        </message>
        <message>
            <source>With the scene without &amp;light</source>
            <translation>Mit der Szene ohne &amp;Licht</translation>
        </message>
        <message>
            <source>With the results before the last &amp;bake</source>
            <translation>Mit den Ergebnissen vor dem letzten &amp;Backen</translation>
        </message>
        <message>
            <source>Co&amp;mpare</source>
            <translation>Ver&amp;gleichen</translation>
        </message>
        <message>
            <source>&amp;Measure a distance</source>
            <translation>Abstand &amp;messen</translation>
        </message>
        <message>
            <source>Frame &amp;everything</source>
            <translation>&amp;Alles zeigen</translation>
        </message>
        <message>
            <source>Frame the &amp;selection</source>
            <translation>Au&amp;swahl zeigen</translation>
        </message>
        <message>
            <source>Look from</source>
            <translation>Blick von</translation>
        </message>
        <message>
            <source>&amp;Front</source>
            <translation>&amp;Vorn</translation>
        </message>
        <message>
            <source>&amp;Back</source>
            <translation>&amp;Hinten</translation>
        </message>
        <message>
            <source>&amp;Left</source>
            <translation>&amp;Links</translation>
        </message>
        <message>
            <source>&amp;Right</source>
            <translation>&amp;Rechts</translation>
        </message>
        <message>
            <source>&amp;Top</source>
            <translation>&amp;Oben</translation>
        </message>
        <message>
            <source>B&amp;ottom</source>
            <translation>&amp;Unten</translation>
        </message>
        <message>
            <source>&amp;Parallel projection</source>
            <translation>&amp;Parallelprojektion</translation>
        </message>
        <message>
            <source>&amp;Turntable</source>
            <translation>&amp;Drehteller</translation>
        </message>
        <message>
            <source>As in &amp;MeshLab</source>
            <translation>Wie in &amp;MeshLab</translation>
        </message>
        <message>
            <source>As in &amp;Blender</source>
            <translation>Wie in &amp;Blender</translation>
        </message>
        <message>
            <source>M&amp;ouse</source>
            <translation>Ma&amp;us</translation>
        </message>
        <message>
            <source>&amp;Panels</source>
            <translation>&amp;Tafeln</translation>
        </message>
        <message>
            <source>Camera of the fi&amp;le</source>
            <translation>Kamera der Da&amp;tei</translation>
        </message>
        <message>
            <source>Camera without a name</source>
            <translation>Kamera ohne Namen</translation>
        </message>
        <message>
            <source>&amp;Sky</source>
            <translation>&amp;Himmel</translation>
        </message>
        <message>
            <source>&amp;White</source>
            <translation>&amp;Weiß</translation>
        </message>
        <message>
            <source>&amp;Grey</source>
            <translation>&amp;Grau</translation>
        </message>
        <message>
            <source>&amp;Dark</source>
            <translation>&amp;Dunkel</translation>
        </message>
        <message>
            <source>Back&amp;ground</source>
            <translation>Hinter&amp;grund</translation>
        </message>
        <message>
            <source>As the &amp;desktop</source>
            <translation>Wie der &amp;Desktop</translation>
        </message>
        <message>
            <source>&amp;Light</source>
            <translation>&amp;Hell</translation>
        </message>
        <message>
            <source>Dar&amp;k</source>
            <translation>&amp;Dunkel</translation>
        </message>
        <message>
            <source>&amp;Window colours</source>
            <translation>&amp;Fensterfarben</translation>
        </message>
        <message>
            <source>As the &amp;system</source>
            <translation>Wie das &amp;System</translation>
        </message>
        <message>
            <source>La&amp;nguage</source>
            <translation>Sp&amp;rache</translation>
        </message>
        <message>
            <source>The language changes at the next start.</source>
            <translation>Die Sprache wechselt beim nächsten Start.</translation>
        </message>
        <message>
            <source>Nothing was cleared: the selected parts have no such results, are hidden or are locked.</source>
            <translation>Nichts wurde gelöscht: Die ausgewählten Teile haben keine solchen Ergebnisse, sind ausgeblendet oder gesperrt.</translation>
        </message>
        <message>
            <source>The selected part keeps no settings: it was not baked by itself.</source>
            <translation>Das ausgewählte Teil hat keine Einstellungen: Es wurde nicht für sich gebacken.</translation>
        </message>
        <message>
            <source>Nothing is selected. Select parts in the scene or in the picture first.</source>
            <translation>Nichts ist ausgewählt. Wählen Sie zuerst Teile in der Szene oder im Bild aus.</translation>
        </message>
        <message>
            <source>Scenes (*.glb *.gltf *.obj *.ply *.stl *.fbx *.dae *.zae *.3mf *.ifc *.x3d *.ac *.3ds *.lwo *.ase *.dxf *.off *.x);;All files (*)</source>
            <translation>Szenen (*.glb *.gltf *.obj *.ply *.stl *.fbx *.dae *.zae *.3mf *.ifc *.x3d *.ac *.3ds *.lwo *.ase *.dxf *.off *.x);;Alle Dateien (*)</translation>
        </message>
        <message>
            <source>E&amp;xpand to the selection</source>
            <translation>Bis zur Auswahl aufklap&amp;pen</translation>
        </message>
        <message>
            <source>Nothing is hidden.</source>
            <translation>Nichts ist ausgeblendet.</translation>
        </message>
        <message>
            <source>Clear shadows of &amp;visible parts</source>
            <translation>Schatten &amp;sichtbarer Teile löschen</translation>
        </message>
        <message>
            <source>Clear indirect light of visible &amp;parts</source>
            <translation>Indirektes Licht sichtbarer &amp;Teile löschen</translation>
        </message>
        <message>
            <source>&amp;Go to</source>
            <translation>&amp;Gehe zu</translation>
        </message>
        <message>
            <source>Go to: picture</source>
            <translation>Gehe zu: Bild</translation>
        </message>
        <message>
            <source>Go to: %1</source>
            <translation>Gehe zu: %1</translation>
        </message>
    </context>
    <context>
        <name>ktViewControl</name>
        <message>
            <source>Orbit</source>
            <translation>Umkreisen</translation>
        </message>
        <message>
            <source>Middle button, or Alt + left button</source>
            <translation>Mittlere Taste, oder Alt + linke Taste</translation>
        </message>
        <message>
            <source>Left button</source>
            <translation>Linke Taste</translation>
        </message>
        <message>
            <source>Pan</source>
            <translation>Verschieben</translation>
        </message>
        <message>
            <source>Shift + middle button</source>
            <translation>Umschalt + mittlere Taste</translation>
        </message>
        <message>
            <source>Middle button, or Ctrl + left button</source>
            <translation>Mittlere Taste, oder Strg + linke Taste</translation>
        </message>
        <message>
            <source>Zoom to the pointer</source>
            <translation>Zum Mauszeiger zoomen</translation>
        </message>
        <message>
            <source>Wheel, or Ctrl + middle button</source>
            <translation>Rad, oder Strg + mittlere Taste</translation>
        </message>
        <message>
            <source>Wheel</source>
            <translation>Rad</translation>
        </message>
        <message>
            <source>Select a part</source>
            <translation>Ein Teil auswählen</translation>
        </message>
        <message>
            <source>Click</source>
            <translation>Klick</translation>
        </message>
        <message>
            <source>Add a part to the selection, or remove it</source>
            <translation>Ein Teil zur Auswahl hinzufügen oder entfernen</translation>
        </message>
        <message>
            <source>Ctrl + click</source>
            <translation>Strg + Klick</translation>
        </message>
        <message>
            <source>Select what a rectangle shows</source>
            <translation>Auswählen, was ein Rechteck zeigt</translation>
        </message>
        <message>
            <source>Shift + left button</source>
            <translation>Umschalt + linke Taste</translation>
        </message>
        <message>
            <source>Orbit around a point</source>
            <translation>Einen Punkt umkreisen</translation>
        </message>
        <message>
            <source>Double click on it</source>
            <translation>Doppelklick darauf</translation>
        </message>
        <message>
            <source>Arrow keys</source>
            <translation>Pfeiltasten</translation>
        </message>
        <message>
            <source>Shift + arrow keys</source>
            <translation>Umschalt + Pfeiltasten</translation>
        </message>
        <message>
            <source>Zoom</source>
            <translation>Zoomen</translation>
        </message>
        <message>
            <source>+ and -</source>
            <translation>+ und -</translation>
        </message>
        <message>
            <source>Move the divider of a comparison</source>
            <translation>Die Trennlinie eines Vergleichs bewegen</translation>
        </message>
        <message>
            <source>Drag it, or Ctrl + left and right arrow</source>
            <translation>Ziehen, oder Strg + Pfeil links und rechts</translation>
        </message>
        <message>
            <source>Move a crosshair</source>
            <translation>Ein Fadenkreuz bewegen</translation>
        </message>
        <message>
            <source>Alt + arrow keys; with Shift by one pixel</source>
            <translation>Alt + Pfeiltasten; mit Umschalt um einen Bildpunkt</translation>
        </message>
        <message>
            <source>Click at the crosshair: select, or set one end of a distance</source>
            <translation>Am Fadenkreuz klicken: auswählen, oder ein Ende einer Strecke setzen</translation>
        </message>
        <message>
            <source>Enter</source>
            <translation>Eingabetaste</translation>
        </message>
        <message>
            <source>Add the part at the crosshair to the selection, or remove it</source>
            <translation>Das Teil am Fadenkreuz zur Auswahl hinzufügen oder daraus entfernen</translation>
        </message>
        <message>
            <source>Ctrl + Enter</source>
            <translation>Strg + Eingabetaste</translation>
        </message>
    </context>
    <context>
        <name>ktViewOverlay</name>
        <message>
            <source>%L1 m</source>
            <translation>%L1 m</translation>
        </message>
        <message>
            <source>%L1 mm</source>
            <translation>%L1 mm</translation>
        </message>
        <message>
            <source>w</source>
            <comment>share of open directions</comment>
            <translation>w</translation>
        </message>
        <message>
            <source>Before the bake</source>
            <translation>Vor dem Backen</translation>
        </message>
        <message>
            <source>Without light</source>
            <translation>Ohne Licht</translation>
        </message>
        <message>
            <source>Now</source>
            <translation>Jetzt</translation>
        </message>
        <message>
            <source>With light</source>
            <translation>Mit Licht</translation>
        </message>
        <message>
            <source>Click the other end of the distance, or press Enter at the crosshair</source>
            <translation>Klicken Sie das andere Ende der Strecke an, oder drücken Sie die Eingabetaste am Fadenkreuz</translation>
        </message>
        <message>
            <source>Click one end of the distance, or press Enter at the crosshair</source>
            <translation>Klicken Sie ein Ende der Strecke an, oder drücken Sie die Eingabetaste am Fadenkreuz</translation>
        </message>
    </context>
    <context>
        <name>ktWorkBar</name>
        <message>
            <source>Progress</source>
            <translation>Fortschritt</translation>
        </message>
        <message>
            <source>Cancel</source>
            <translation>Abbrechen</translation>
        </message>
    </context>
    <context>
        <name>main</name>
        <message>
            <source>Opens a scene, bakes light into its vertices, shows and saves it.</source>
            <translation>Öffnet eine Szene, backt Licht in ihre Ecken, zeigt und speichert sie.</translation>
        </message>
        <message>
            <source>Print this.</source>
            <translation>Dies ausgeben.</translation>
        </message>
        <message>
            <source>Print the version.</source>
            <translation>Die Version ausgeben.</translation>
        </message>
        <message>
            <source>Length of one unit of the file: auto, mm, cm, m, inch, foot or a number of millimetres.</source>
            <translation>Länge einer Einheit der Datei: auto, mm, cm, m, inch, foot oder eine Zahl von Millimetern.</translation>
        </message>
        <message>
            <source>Axis of the file that points up: x, y or z; without it, as the file says.</source>
            <translation>Achse der Datei, die nach oben zeigt: x, y oder z; ohne sie, wie die Datei sagt.</translation>
        </message>
        <message>
            <source>Scene to open: glTF, OBJ, PLY, STL, ... More files are added to it.</source>
            <translation>Szene, die geöffnet wird: glTF, OBJ, PLY, STL, ... Weitere Dateien kommen hinzu.</translation>
        </message>
        <message>
            <source>--unit %1: must be auto, mm, cm, m, inch, foot or a length in millimetres</source>
            <translation>--unit %1: muss auto, mm, cm, m, inch, foot oder eine Länge in Millimetern sein</translation>
        </message>
        <message>
            <source>--up %1: must be x, y or z</source>
            <translation>--up %1: muss x, y oder z sein</translation>
        </message>
    </context>
</TS>
