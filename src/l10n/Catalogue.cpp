// SPDX-License-Identifier: MIT
// The built-in texts. Each list keeps the same key order; translators edit one column at a time.
// Texts use "..." rather than an ellipsis character, and "{name}" placeholders stay as in English.
// Vorrik ships for Linux: texts about the right to click name what a Linux session needs (ax_*
// for an X server, wl_* for a Wayland desktop no backend serves, rd_* for a desktop that clicks
// only with consent given through its portal), never another system's settings.
#include "l10n/Catalogue.h"

namespace vorrik::L::catalogue {

const List en{{
    {"ready", "Ready"},
    {"start", "Start  (F6)"},
    {"stop", "Stop  (F6)"},
    {"clicking", "Clicking..."},
    {"burst_off", "Burst: off"},
    {"burst_x", "Burst: x{n}"},
    {"jitter", "Jitter (human-like)"},
    {"target_cursor", "Target: cursor"},
    {"target_points", "Target: {n} point(s) {list}"},
    {"add_point", "+ Add point"},
    {"clear", "Clear"},
    {"clicks_session", "{n} clicks this session"},
    {"zero_clicks", "0 clicks"},
    {"cannot_click", "Stopped: the click could not be made on this display."},
    {"no_tray_title", "Closing the panel quits Vorrik"},
    {"no_tray_body",
     "This desktop shows no tray icon to bring the panel back from. Start Vorrik again to get it "
     "back."},
    {"keep_open", "Keep Open"},
    {"sec_interval", "INTERVAL"},
    {"sec_click", "CLICK"},
    {"sec_target", "TARGET"},
    {"sec_stop", "STOP AFTER"},
    {"sec_language", "LANGUAGE"},
    {"preset_game", "Game Farm 120 ms"},
    {"preset_idle", "Idle 2.5 s"},
    {"preset_refresh", "Refresh 3 s"},
    {"preset_custom", "Custom"},
    {"ms_placeholder", "ms (50 to 60000)"},
    {"left", "Left"},
    {"right", "Right"},
    {"double", "Double"},
    {"stop_placeholder", "clicks (blank = until stopped)"},
    {"max_points", "Max 5 points"},
    {"click_to_set", "Click anywhere to set point {n}..."},
    {"stopped", "Stopped"},
    {"ax_needed",
     "Clicks need the X server's XTEST extension: turn it on, then press Start again."},
    {"done", "Done: {n} clicks."},
    {"m_show", "Show Vorrik"},
    {"m_toggle", "Start / Stop (F6)"},
    {"m_ax", "Clicking on this desktop..."},
    {"m_language", "Language"},
    {"m_quit", "Quit Vorrik"},
    {"m_about", "About Vorrik"},
    {"m_hide", "Hide Vorrik"},
    {"m_edit", "Edit"},
    {"m_cut", "Cut"},
    {"m_copy", "Copy"},
    {"m_paste", "Paste"},
    {"m_selectall", "Select All"},
    {"ax_title", "Vorrik needs the XTEST extension"},
    {"ax_body",
     "On X11 an app can click for you only through the X server's XTEST extension. Every normal X "
     "server has it, but this one does not offer it. Turn XTEST on for this X server (the help "
     "page shows how). Vorrik never reads your screen, never collects data and has no ads."},
    {"open_settings", "Open Help"},
    {"later", "Later"},
    {"about_title", "Vorrik for Linux {v}"},
    {"about_body",
     "Auto clicker. Zero ads. Zero tracking.\nMade with care by the Vorrik developers.\n"
     "https://vorrik.example"},
    {"wl_title", "Vorrik cannot click on this Wayland desktop"},
    {"wl_body",
     "This Wayland desktop offers Vorrik no way to click into its applications: at most X11 "
     "applications would receive the clicks, and F6 would work only while an X11 window has the "
     "keyboard. So Vorrik starts no runs here. Log in to an X11 session, or use a supported "
     "desktop (wlroots compositors such as sway)."},
    {"wl_needed", "No runs on this Wayland desktop: use an X11 session or a supported desktop."},
    {"rd_title", "Your desktop asks before Vorrik clicks"},
    {"rd_body",
     "On this desktop an app can click for you only with your consent, given in the desktop's "
     "remote-control dialog when you press Start. {answer} Then press Start again. Vorrik "
     "only moves the pointer and presses its buttons: it never reads your screen, never "
     "collects data and has no ads."},
    {"rd_gnome",
     "Turn on \"Allow Remote Interaction\", leave \"Remember This Selection\" ticked and "
     "press Share: GNOME then does not ask again."},
    {"rd_gnome_once",
     "Turn on \"Allow remote interaction\" and press Share. GNOME asks again each time Vorrik "
     "starts."},
    {"rd_kde",
     "Leave \"Allow restoring on future sessions\" ticked and press Share: KDE Plasma then "
     "does not ask again."},
    {"rd_kde_once", "Press Share. KDE Plasma asks again each time Vorrik starts."},
    {"rd_other", "Allow remote control there."},
    {"rd_needed", "Allow remote control when your desktop asks, then press Start again."},
    {"f6_title", "Start and stop with F6 on this desktop?"},
    {"f6_body",
     "This desktop shows no app the keys pressed in other apps, so F6 reaches Vorrik only as one "
     "of the desktop's own keyboard shortcuts. Vorrik can add it for you: F6 then runs "
     "\"vorrik --toggle\", which starts or stops a run. Your other shortcuts stay as they are, "
     "and the Vorrik menu removes it again. Vorrik asks only this once."},
    {"f6_add", "Add F6 Shortcut"},
    {"f6_skip", "No Thanks"},
    {"f6_remove", "Remove F6 Shortcut"},
    {"f6_missing",
     "F6 is not available to Vorrik on this desktop: bind \"vorrik --toggle\" to a key in its "
     "keyboard "
     "settings."},
    {"f6_missing_title", "F6 is not available on this desktop"},
    {"m_f6_missing", "F6 Not Available..."},
}};

const List ht{{
    {"ready", "Pare"},
    {"start", "Kòmanse  (F6)"},
    {"stop", "Kanpe  (F6)"},
    {"clicking", "Ap klike..."},
    {"burst_off", "Rafal: etenn"},
    {"burst_x", "Rafal: x{n}"},
    {"jitter", "Varyasyon (tankou yon moun)"},
    {"target_cursor", "Sib: kisè"},
    {"target_points", "Sib: {n} pwen {list}"},
    {"add_point", "+ Ajoute pwen"},
    {"clear", "Efase"},
    {"clicks_session", "{n} klik nan sesyon sa a"},
    {"zero_clicks", "0 klik"},
    {"cannot_click", "Kanpe: klik la pa t ka fèt sou ekran sa a."},
    {"no_tray_title", "Fèmen panno a ap kite Vorrik"},
    {"no_tray_body",
     "Biwo sa a pa montre okenn ikòn nan zòn notifikasyon pou fè panno a tounen. Lanse Vorrik ankò "
     "pou jwenn li."},
    {"keep_open", "Kite l louvri"},
    {"sec_interval", "ENTÈVAL"},
    {"sec_click", "KLIK"},
    {"sec_target", "SIB"},
    {"sec_stop", "KANPE APRE"},
    {"sec_language", "LANG"},
    {"preset_game", "Fèm jwèt 120 ms"},
    {"preset_idle", "Rete aktif 2.5 s"},
    {"preset_refresh", "Rafrechi 3 s"},
    {"preset_custom", "Pèsonalize"},
    {"ms_placeholder", "ms (50 rive 60000)"},
    {"left", "Goch"},
    {"right", "Dwat"},
    {"double", "Doub"},
    {"stop_placeholder", "klik (vid = jiskaske ou kanpe l)"},
    {"max_points", "5 pwen maksimòm"},
    {"click_to_set", "Klike nenpòt kote pou mete pwen {n}..."},
    {"stopped", "Kanpe"},
    {"ax_needed", "Klik yo bezwen ekstansyon XTEST sèvè X la: aktive l, epi peze Kòmanse ankò."},
    {"done", "Fini: {n} klik."},
    {"m_show", "Montre Vorrik"},
    {"m_toggle", "Kòmanse / Kanpe (F6)"},
    {"m_ax", "Klike sou biwo sa a..."},
    {"m_language", "Lang"},
    {"m_quit", "Kite Vorrik"},
    {"m_about", "Konsènan Vorrik"},
    {"m_hide", "Kache Vorrik"},
    {"m_edit", "Modifye"},
    {"m_cut", "Koupe"},
    {"m_copy", "Kopye"},
    {"m_paste", "Kole"},
    {"m_selectall", "Chwazi tout"},
    {"ax_title", "Vorrik bezwen ekstansyon XTEST la"},
    {"ax_body",
     "Sou X11, yon app ka klike pou ou sèlman atravè ekstansyon XTEST sèvè X la. Tout sèvè X nòmal "
     "genyen l, men sa a pa ofri l. Aktive XTEST pou sèvè X sa a (paj èd la montre kijan). Vorrik "
     "pa janm li ekran ou, pa janm ranmase done e li pa gen piblisite."},
    {"open_settings", "Louvri Èd"},
    {"later", "Pita"},
    {"about_title", "Vorrik pou Linux {v}"},
    {"about_body",
     "Auto clicker. Zewo piblisite. Zewo swiv.\nFèt avèk swen pa devlopè Vorrik yo.\n"
     "https://vorrik.example"},
    {"wl_title", "Vorrik pa ka klike sou biwo Wayland sa a"},
    {"wl_body",
     "Biwo Wayland sa a pa bay Vorrik okenn mwayen pou klike nan aplikasyon li yo: sèlman "
     "aplikasyon X11 ta ka resevwa klik yo, epi F6 ta mache sèlman pandan yon fenèt X11 gen klavye "
     "a. Se poutèt sa Vorrik pa kòmanse okenn seri klik isit la. Konekte nan yon sesyon X11, oswa "
     "sèvi ak yon biwo ki sipòte (konpozitè wlroots tankou sway)."},
    {"wl_needed",
     "Pa gen klik sou biwo Wayland sa a: sèvi ak yon sesyon X11 oswa yon biwo ki sipòte."},
    {"rd_title", "Biwo w la mande anvan Vorrik klike"},
    {"rd_body",
     "Sou biwo sa a, yon app ka klike pou ou sèlman avèk konsantman ou, ou bay nan fenèt "
     "kontwòl a distans biwo a lè ou peze Kòmanse. {answer} Epi peze Kòmanse ankò. Vorrik "
     "sèlman deplase kisè a epi peze bouton li yo: li pa janm li ekran ou, pa janm ranmase "
     "done e li pa gen piblisite."},
    {"rd_gnome",
     "Limen \"Allow Remote Interaction\", kite \"Remember This Selection\" koche epi peze "
     "Share: GNOME p ap mande ankò."},
    {"rd_gnome_once",
     "Limen \"Allow remote interaction\" epi peze Share. GNOME mande ankò chak fwa Vorrik "
     "demare."},
    {"rd_kde",
     "Kite \"Allow restoring on future sessions\" koche epi peze Share: KDE Plasma p ap mande "
     "ankò."},
    {"rd_kde_once", "Peze Share. KDE Plasma mande ankò chak fwa Vorrik demare."},
    {"rd_other", "Pèmèt kontwòl a distans ladan l."},
    {"rd_needed", "Pèmèt kontwòl a distans lè biwo w la mande, epi peze Kòmanse ankò."},
    {"f6_title", "Kòmanse epi kanpe ak F6 sou biwo sa a?"},
    {"f6_body",
     "Biwo sa a pa montre okenn app touch yo peze nan lòt app, kidonk F6 rive jwenn Vorrik "
     "sèlman si li se yon rakousi klavye biwo a menm. Vorrik ka ajoute l pou ou: lè sa a F6 "
     "lanse \"vorrik --toggle\", ki kòmanse oswa kanpe yon seri klik. Lòt rakousi ou yo rete "
     "jan yo ye, epi meni Vorrik la ka retire l ankò. Vorrik mande sa yon sèl fwa."},
    {"f6_add", "Ajoute rakousi F6"},
    {"f6_skip", "Non, mèsi"},
    {"f6_remove", "Retire rakousi F6"},
    {"f6_missing",
     "F6 pa disponib pou Vorrik sou biwo sa a: mete \"vorrik --toggle\" sou yon touch nan paramèt "
     "klavye "
     "biwo a."},
    {"f6_missing_title", "F6 pa disponib sou biwo sa a"},
    {"m_f6_missing", "F6 pa disponib..."},
}};

const List fr{{
    {"ready", "Prêt"},
    {"start", "Démarrer  (F6)"},
    {"stop", "Arrêter  (F6)"},
    {"clicking", "Clic en cours..."},
    {"burst_off", "Rafale : désactivée"},
    {"burst_x", "Rafale : x{n}"},
    {"jitter", "Variation (façon humaine)"},
    {"target_cursor", "Cible : curseur"},
    {"target_points", "Cible : {n} point(s) {list}"},
    {"add_point", "+ Ajouter un point"},
    {"clear", "Effacer"},
    {"clicks_session", "{n} clics pendant cette session"},
    {"zero_clicks", "0 clic"},
    {"cannot_click", "Arrêté : le clic n'a pas pu être fait sur cet écran."},
    {"no_tray_title", "Fermer le panneau quitte Vorrik"},
    {"no_tray_body",
     "Ce bureau n'affiche aucune icône de zone de notification d'où rouvrir le panneau. Relancez "
     "Vorrik pour le retrouver."},
    {"keep_open", "Garder ouvert"},
    {"sec_interval", "INTERVALLE"},
    {"sec_click", "CLIC"},
    {"sec_target", "CIBLE"},
    {"sec_stop", "ARRÊTER APRÈS"},
    {"sec_language", "LANGUE"},
    {"preset_game", "Farm de jeu 120 ms"},
    {"preset_idle", "Rester actif 2,5 s"},
    {"preset_refresh", "Actualiser 3 s"},
    {"preset_custom", "Personnalisé"},
    {"ms_placeholder", "ms (50 à 60000)"},
    {"left", "Gauche"},
    {"right", "Droit"},
    {"double", "Double"},
    {"stop_placeholder", "clics (vide = jusqu'à l'arrêt)"},
    {"max_points", "5 points au maximum"},
    {"click_to_set", "Cliquez n'importe où pour placer le point {n}..."},
    {"stopped", "Arrêté"},
    {"ax_needed",
     "Les clics ont besoin de l'extension XTEST du serveur X : activez-la, puis appuyez de nouveau "
     "sur Démarrer."},
    {"done", "Terminé : {n} clics."},
    {"m_show", "Afficher Vorrik"},
    {"m_toggle", "Démarrer / Arrêter (F6)"},
    {"m_ax", "Cliquer sur ce bureau..."},
    {"m_language", "Langue"},
    {"m_quit", "Quitter Vorrik"},
    {"m_about", "À propos de Vorrik"},
    {"m_hide", "Masquer Vorrik"},
    {"m_edit", "Édition"},
    {"m_cut", "Couper"},
    {"m_copy", "Copier"},
    {"m_paste", "Coller"},
    {"m_selectall", "Tout sélectionner"},
    {"ax_title", "Vorrik a besoin de l'extension XTEST"},
    {"ax_body",
     "Sous X11, une app ne peut cliquer pour vous que par l'extension XTEST du serveur X. Tout "
     "serveur X normal l'offre, mais celui-ci ne l'offre pas. Activez XTEST pour ce serveur X (la "
     "page d'aide explique comment). Vorrik ne lit jamais votre écran, ne collecte aucune donnée "
     "et n'affiche aucune publicité."},
    {"open_settings", "Ouvrir l'aide"},
    {"later", "Plus tard"},
    {"about_title", "Vorrik pour Linux {v}"},
    {"about_body",
     "Auto-clicker. Zéro pub. Zéro pistage.\nConçu avec soin par les développeurs de Vorrik.\n"
     "https://vorrik.example"},
    {"wl_title", "Vorrik ne peut pas cliquer sur ce bureau Wayland"},
    {"wl_body",
     "Ce bureau Wayland n'offre à Vorrik aucun moyen de cliquer dans ses applications : seules les "
     "applications X11 recevraient les clics, et F6 ne fonctionnerait que lorsqu'une fenêtre X11 a "
     "le clavier. Vorrik ne lance donc aucune série de clics ici. Ouvrez une session X11, ou "
     "utilisez un bureau pris en charge (compositeurs wlroots comme sway)."},
    {"wl_needed",
     "Aucun clic sur ce bureau Wayland : ouvrez une session X11 ou un bureau pris en charge."},
    {"rd_title", "Votre bureau demande avant que Vorrik clique"},
    {"rd_body",
     "Sur ce bureau, une app ne peut cliquer pour vous qu'avec votre accord, donné dans la "
     "fenêtre de contrôle à distance du bureau quand vous appuyez sur Démarrer. {answer} Puis "
     "appuyez à nouveau sur Démarrer. Vorrik ne fait que déplacer le pointeur et appuyer sur "
     "ses boutons : il ne lit jamais votre écran, ne collecte aucune donnée et n'affiche "
     "aucune publicité."},
    {"rd_gnome",
     "Activez « Autoriser l'interaction à distance », laissez « Se souvenir de cette "
     "sélection » cochée et appuyez sur Partager : GNOME ne demandera plus."},
    {"rd_gnome_once",
     "Activez « Autoriser l'interaction à distance » et appuyez sur Partager. GNOME redemande "
     "à chaque lancement de Vorrik."},
    {"rd_kde",
     "Laissez « Autoriser la restauration lors des prochaines sessions » cochée et appuyez "
     "sur Partager : KDE Plasma ne demandera plus."},
    {"rd_kde_once", "Appuyez sur Partager. KDE Plasma redemande à chaque lancement de Vorrik."},
    {"rd_other", "Autorisez-y le contrôle à distance."},
    {"rd_needed",
     "Autorisez le contrôle à distance quand votre bureau le demande, puis appuyez à nouveau "
     "sur Démarrer."},
    {"f6_title", "Démarrer et arrêter avec F6 sur ce bureau ?"},
    {"f6_body",
     "Ce bureau ne montre à aucune app les touches pressées dans les autres, donc F6 n'atteint "
     "Vorrik que comme raccourci clavier du bureau lui-même. Vorrik peut l'ajouter pour vous : "
     "F6 lance alors « vorrik --toggle », qui démarre ou arrête une série. Vos autres raccourcis "
     "restent tels quels, et le menu Vorrik le retire à nouveau. Vorrik ne le demande qu'une "
     "fois."},
    {"f6_add", "Ajouter le raccourci F6"},
    {"f6_skip", "Non merci"},
    {"f6_remove", "Retirer le raccourci F6"},
    {"f6_missing",
     "F6 n'est pas disponible pour Vorrik sur ce bureau : associez « vorrik --toggle » à une "
     "touche dans ses "
     "réglages du clavier."},
    {"f6_missing_title", "F6 n'est pas disponible sur ce bureau"},
    {"m_f6_missing", "F6 non disponible..."},
}};

const List es{{
    {"ready", "Listo"},
    {"start", "Iniciar  (F6)"},
    {"stop", "Detener  (F6)"},
    {"clicking", "Haciendo clic..."},
    {"burst_off", "Ráfaga: desactivada"},
    {"burst_x", "Ráfaga: x{n}"},
    {"jitter", "Variación (como una persona)"},
    {"target_cursor", "Objetivo: cursor"},
    {"target_points", "Objetivo: {n} punto(s) {list}"},
    {"add_point", "+ Añadir punto"},
    {"clear", "Borrar"},
    {"clicks_session", "{n} clics en esta sesión"},
    {"zero_clicks", "0 clics"},
    {"cannot_click", "Detenido: no se pudo hacer el clic en esta pantalla."},
    {"no_tray_title", "Cerrar el panel cierra Vorrik"},
    {"no_tray_body",
     "Este escritorio no muestra ningún icono en la bandeja desde donde recuperar el panel. Abre "
     "Vorrik de nuevo para recuperarlo."},
    {"keep_open", "Mantener abierto"},
    {"sec_interval", "INTERVALO"},
    {"sec_click", "CLIC"},
    {"sec_target", "OBJETIVO"},
    {"sec_stop", "DETENER TRAS"},
    {"sec_language", "IDIOMA"},
    {"preset_game", "Granja de juego 120 ms"},
    {"preset_idle", "Mantener activo 2.5 s"},
    {"preset_refresh", "Actualizar 3 s"},
    {"preset_custom", "Personalizado"},
    {"ms_placeholder", "ms (50 a 60000)"},
    {"left", "Izquierdo"},
    {"right", "Derecho"},
    {"double", "Doble"},
    {"stop_placeholder", "clics (vacío = hasta detener)"},
    {"max_points", "Máximo 5 puntos"},
    {"click_to_set", "Haz clic en cualquier lugar para fijar el punto {n}..."},
    {"stopped", "Detenido"},
    {"ax_needed",
     "Los clics necesitan la extensión XTEST del servidor X: actívala y luego pulsa Iniciar de "
     "nuevo."},
    {"done", "Hecho: {n} clics."},
    {"m_show", "Mostrar Vorrik"},
    {"m_toggle", "Iniciar / Detener (F6)"},
    {"m_ax", "Hacer clic en este escritorio..."},
    {"m_language", "Idioma"},
    {"m_quit", "Salir de Vorrik"},
    {"m_about", "Acerca de Vorrik"},
    {"m_hide", "Ocultar Vorrik"},
    {"m_edit", "Edición"},
    {"m_cut", "Cortar"},
    {"m_copy", "Copiar"},
    {"m_paste", "Pegar"},
    {"m_selectall", "Seleccionar todo"},
    {"ax_title", "Vorrik necesita la extensión XTEST"},
    {"ax_body",
     "En X11, una app solo puede hacer clic por ti a través de la extensión XTEST del servidor X. "
     "Todo servidor X normal la tiene, pero este no la ofrece. Activa XTEST en este servidor X (la "
     "página de ayuda explica cómo). Vorrik nunca lee tu pantalla, nunca recopila datos y no tiene "
     "anuncios."},
    {"open_settings", "Abrir la ayuda"},
    {"later", "Más tarde"},
    {"about_title", "Vorrik para Linux {v}"},
    {"about_body",
     "Auto clicker. Cero anuncios. Cero rastreo.\nHecho con cuidado por el equipo de Vorrik.\n"
     "https://vorrik.example"},
    {"wl_title", "Vorrik no puede hacer clic en este escritorio Wayland"},
    {"wl_body",
     "Este escritorio Wayland no le ofrece a Vorrik ninguna forma de hacer clic en sus "
     "aplicaciones: como mucho, las aplicaciones X11 recibirían los clics, y F6 solo funcionaría "
     "mientras una ventana X11 tenga el teclado. Por eso Vorrik no inicia ninguna tanda de clics "
     "aquí. Inicia una sesión X11 o usa un escritorio compatible (compositores wlroots como "
     "sway)."},
    {"wl_needed",
     "Sin clics en este escritorio Wayland: usa una sesión X11 o un escritorio compatible."},
    {"rd_title", "Tu escritorio pregunta antes de que Vorrik haga clic"},
    {"rd_body",
     "En este escritorio una app solo puede hacer clic por ti con tu consentimiento, dado en "
     "el diálogo de control remoto del escritorio al pulsar Iniciar. {answer} Después pulsa "
     "Iniciar otra vez. Vorrik solo mueve el puntero y pulsa sus botones: nunca lee tu "
     "pantalla, nunca recopila datos y no tiene anuncios."},
    {"rd_gnome",
     "Activa \"Permitir interacción remota\", deja marcada \"Recordar esta selección\" y "
     "pulsa Compartir: GNOME no volverá a preguntar."},
    {"rd_gnome_once",
     "Activa \"Permitir interacción remota\" y pulsa Compartir. GNOME pregunta de nuevo cada "
     "vez que Vorrik se inicia."},
    {"rd_kde",
     "Deja marcada \"Permitir restaurar en futuras sesiones\" y pulsa Compartir: KDE Plasma "
     "no volverá a preguntar."},
    {"rd_kde_once", "Pulsa Compartir. KDE Plasma pregunta de nuevo cada vez que Vorrik se inicia."},
    {"rd_other", "Permite en él el control remoto."},
    {"rd_needed",
     "Permite el control remoto cuando tu escritorio lo pida y pulsa Iniciar otra vez."},
    {"f6_title", "¿Iniciar y detener con F6 en este escritorio?"},
    {"f6_body",
     "Este escritorio no muestra a ninguna app las teclas pulsadas en otras, así que F6 llega a "
     "Vorrik solo como un atajo de teclado del propio escritorio. Vorrik puede añadirlo por ti: "
     "F6 ejecuta entonces \"vorrik --toggle\", que inicia o detiene una serie. Tus otros atajos "
     "quedan como están, y el menú de Vorrik lo quita de nuevo. Vorrik lo pregunta solo esta "
     "vez."},
    {"f6_add", "Añadir atajo F6"},
    {"f6_skip", "No, gracias"},
    {"f6_remove", "Quitar atajo F6"},
    {"f6_missing",
     "F6 no está disponible para Vorrik en este escritorio: asigna \"vorrik --toggle\" a una tecla "
     "en su "
     "configuración de teclado."},
    {"f6_missing_title", "F6 no está disponible en este escritorio"},
    {"m_f6_missing", "F6 no disponible..."},
}};

const List pt{{
    {"ready", "Pronto"},
    {"start", "Iniciar  (F6)"},
    {"stop", "Parar  (F6)"},
    {"clicking", "Clicando..."},
    {"burst_off", "Rajada: desligada"},
    {"burst_x", "Rajada: x{n}"},
    {"jitter", "Variação (como uma pessoa)"},
    {"target_cursor", "Alvo: cursor"},
    {"target_points", "Alvo: {n} ponto(s) {list}"},
    {"add_point", "+ Adicionar ponto"},
    {"clear", "Limpar"},
    {"clicks_session", "{n} cliques nesta sessão"},
    {"zero_clicks", "0 cliques"},
    {"cannot_click", "Parado: não foi possível fazer o clique nesta tela."},
    {"no_tray_title", "Fechar o painel encerra o Vorrik"},
    {"no_tray_body",
     "Esta área de trabalho não mostra nenhum ícone na bandeja para trazer o painel de volta. Abra "
     "o Vorrik de novo para recuperá-lo."},
    {"keep_open", "Manter aberto"},
    {"sec_interval", "INTERVALO"},
    {"sec_click", "CLIQUE"},
    {"sec_target", "ALVO"},
    {"sec_stop", "PARAR APÓS"},
    {"sec_language", "IDIOMA"},
    {"preset_game", "Farm de jogo 120 ms"},
    {"preset_idle", "Manter ativo 2,5 s"},
    {"preset_refresh", "Atualizar 3 s"},
    {"preset_custom", "Personalizado"},
    {"ms_placeholder", "ms (50 a 60000)"},
    {"left", "Esquerdo"},
    {"right", "Direito"},
    {"double", "Duplo"},
    {"stop_placeholder", "cliques (vazio = até parar)"},
    {"max_points", "Máximo de 5 pontos"},
    {"click_to_set", "Clique em qualquer lugar para definir o ponto {n}..."},
    {"stopped", "Parado"},
    {"ax_needed",
     "Os cliques precisam da extensão XTEST do servidor X: ative-a e depois pressione Iniciar "
     "novamente."},
    {"done", "Concluído: {n} cliques."},
    {"m_show", "Mostrar Vorrik"},
    {"m_toggle", "Iniciar / Parar (F6)"},
    {"m_ax", "Clicar nesta área de trabalho..."},
    {"m_language", "Idioma"},
    {"m_quit", "Sair do Vorrik"},
    {"m_about", "Sobre o Vorrik"},
    {"m_hide", "Ocultar Vorrik"},
    {"m_edit", "Editar"},
    {"m_cut", "Recortar"},
    {"m_copy", "Copiar"},
    {"m_paste", "Colar"},
    {"m_selectall", "Selecionar tudo"},
    {"ax_title", "O Vorrik precisa da extensão XTEST"},
    {"ax_body",
     "No X11, um app só pode clicar por você através da extensão XTEST do servidor X. Todo "
     "servidor X normal a tem, mas este não a oferece. Ative o XTEST neste servidor X (a página de "
     "ajuda explica como). O Vorrik nunca lê sua tela, nunca coleta dados e não tem anúncios."},
    {"open_settings", "Abrir a ajuda"},
    {"later", "Mais tarde"},
    {"about_title", "Vorrik para Linux {v}"},
    {"about_body",
     "Auto clicker. Zero anúncios. Zero rastreamento.\nFeito com cuidado pela equipe do Vorrik.\n"
     "https://vorrik.example"},
    {"wl_title", "O Vorrik não pode clicar nesta área de trabalho Wayland"},
    {"wl_body",
     "Esta área de trabalho Wayland não oferece ao Vorrik nenhuma forma de clicar nos seus "
     "aplicativos: no máximo os aplicativos X11 receberiam os cliques, e o F6 só funcionaria "
     "enquanto uma janela X11 tivesse o teclado. Por isso o Vorrik não inicia nenhuma sequência de "
     "cliques aqui. Entre numa sessão X11 ou use uma área de trabalho compatível (compositores "
     "wlroots como o sway)."},
    {"wl_needed",
     "Sem cliques nesta área de trabalho Wayland: use uma sessão X11 ou uma área de trabalho "
     "compatível."},
    {"rd_title", "Sua área de trabalho pergunta antes de o Vorrik clicar"},
    {"rd_body",
     "Nesta área de trabalho um app só pode clicar por você com o seu consentimento, dado no "
     "diálogo de controle remoto da área de trabalho ao clicar em Iniciar. {answer} Depois "
     "clique em Iniciar de novo. O Vorrik só move o ponteiro e aperta os botões dele: nunca "
     "lê sua tela, nunca coleta dados e não tem anúncios."},
    {"rd_gnome",
     "Ative \"Permitir interação remota\", deixe \"Lembrar esta seleção\" marcada e clique em "
     "Compartilhar: o GNOME não vai perguntar de novo."},
    {"rd_gnome_once",
     "Ative \"Permitir interação remota\" e clique em Compartilhar. O GNOME pergunta de novo "
     "cada vez que o Vorrik é aberto."},
    {"rd_kde",
     "Deixe \"Permitir restauração em sessões futuras\" marcada e clique em Compartilhar: o "
     "KDE Plasma não vai perguntar de novo."},
    {"rd_kde_once",
     "Clique em Compartilhar. O KDE Plasma pergunta de novo cada vez que o Vorrik é aberto."},
    {"rd_other", "Permita nele o controle remoto."},
    {"rd_needed",
     "Permita o controle remoto quando sua área de trabalho pedir e clique em Iniciar de "
     "novo."},
    {"f6_title", "Iniciar e parar com F6 nesta área de trabalho?"},
    {"f6_body",
     "Esta área de trabalho não mostra a nenhum app as teclas pressionadas em outros, então o F6 "
     "chega ao Vorrik só como um atalho de teclado da própria área de trabalho. O Vorrik pode "
     "adicioná-lo para você: o F6 então executa \"vorrik --toggle\", que inicia ou para uma "
     "série. Seus outros atalhos ficam como estão, e o menu do Vorrik o remove de novo. O Vorrik "
     "pergunta só desta vez."},
    {"f6_add", "Adicionar atalho F6"},
    {"f6_skip", "Não, obrigado"},
    {"f6_remove", "Remover atalho F6"},
    {"f6_missing",
     "O F6 não está disponível para o Vorrik nesta área de trabalho: associe \"vorrik --toggle\" a "
     "uma tecla "
     "nas configurações de teclado dela."},
    {"f6_missing_title", "O F6 não está disponível nesta área de trabalho"},
    {"m_f6_missing", "F6 indisponível..."},
}};

}  // namespace vorrik::L::catalogue
