// Values of properties that mail and calendar clients agree on: verbs, icons, calendar, tasks, encodings, retention.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// Last verb executed (PR_LAST_VERB_EXECUTED) and verbs of forms.
inline constexpr ULONG EXCHIVERB_OPEN                      = 0;
inline constexpr ULONG EXCHIVERB_RESERVED_COMPOSE          = 100;
inline constexpr ULONG EXCHIVERB_RESERVED_OPEN             = 101;
inline constexpr ULONG EXCHIVERB_REPLYTOSENDER             = 102;
inline constexpr ULONG EXCHIVERB_REPLYTOALL                = 103;
inline constexpr ULONG EXCHIVERB_FORWARD                   = 104;
inline constexpr ULONG EXCHIVERB_PRINT                     = 105;
inline constexpr ULONG EXCHIVERB_SAVEAS                    = 106;
inline constexpr ULONG EXCHIVERB_RESERVED_DELIVERY         = 107;
inline constexpr ULONG EXCHIVERB_REPLYTOFOLDER             = 108;
inline constexpr ULONG NOTEIVERB_ACCEPT                    = 512;
inline constexpr ULONG NOTEIVERB_CANCEL                    = 518;
inline constexpr ULONG NOTEIVERB_CHANGE_ATTENDEES          = 537;
inline constexpr ULONG NOTEIVERB_COMPOSEREPLACE            = 530;
inline constexpr ULONG NOTEIVERB_COPYTOPOSTFOLDER          = 574;
inline constexpr ULONG NOTEIVERB_DECLINE                   = 515;
inline constexpr ULONG NOTEIVERB_DECLPNTIME                = 543;
inline constexpr ULONG NOTEIVERB_DELETEPROCESS             = 532;
inline constexpr ULONG NOTEIVERB_EDIT                      = 531;
inline constexpr ULONG NOTEIVERB_EDITTEMPLATE              = 534;
inline constexpr ULONG NOTEIVERB_FILLOUT_THIS_FORM         = 547;
inline constexpr ULONG NOTEIVERB_FINDINCALENDAR            = 535;
inline constexpr ULONG NOTEIVERB_FOLLOWUP                  = 511;
inline constexpr ULONG NOTEIVERB_FOLLOWUPCLEAR             = 524;
inline constexpr ULONG NOTEIVERB_FOLLOWUPCOMPLETE          = 573;
inline constexpr ULONG NOTEIVERB_FOLLOWUP_DEFAULT          = 548;
inline constexpr ULONG NOTEIVERB_FORWARD                   = 104;
inline constexpr ULONG NOTEIVERB_FORWARDASFILE             = 536;
inline constexpr ULONG NOTEIVERB_FORWARD_APPT              = 525;
inline constexpr ULONG NOTEIVERB_FORWARD_AS_BCARD          = 542;
inline constexpr ULONG NOTEIVERB_FORWARD_AS_ICAL           = 541;
inline constexpr ULONG NOTEIVERB_FORWARD_AS_VCAL           = 540;
inline constexpr ULONG NOTEIVERB_FORWARD_CANCEL            = 523;
inline constexpr ULONG NOTEIVERB_FORWARD_RESPONSE          = 522;
inline constexpr ULONG NOTEIVERB_INVITE                    = 516;
inline constexpr ULONG NOTEIVERB_JOURNALOPEN               = 528;
inline constexpr ULONG NOTEIVERB_JOURNALOPENLINK           = 529;
inline constexpr ULONG NOTEIVERB_OPEN                      = 0;
inline constexpr ULONG NOTEIVERB_OPENRESEND                = 526;
inline constexpr ULONG NOTEIVERB_OPENWITHWORD              = 545;
inline constexpr ULONG NOTEIVERB_OPEN_INSTANCE_OF_SERIES   = 546;
inline constexpr ULONG NOTEIVERB_PARTIALRECIP_SILENTCANCEL = 576;
inline constexpr ULONG NOTEIVERB_PARTIALRECIP_SILENTINVITE = 575;
inline constexpr ULONG NOTEIVERB_PRINT                     = 105;
inline constexpr ULONG NOTEIVERB_PROCESS                   = 544;
inline constexpr ULONG NOTEIVERB_PROPERTIES                = 510;
inline constexpr ULONG NOTEIVERB_PROP_CHANGE               = 539;
inline constexpr ULONG NOTEIVERB_RECALC_TITLE              = 538;
inline constexpr ULONG NOTEIVERB_RECALL_MESSAGE            = 521;
inline constexpr ULONG NOTEIVERB_REJECT                    = 514;
inline constexpr ULONG NOTEIVERB_REPLYTOALL                = 103;
inline constexpr ULONG NOTEIVERB_REPLYTOFOLDER             = 108;
inline constexpr ULONG NOTEIVERB_REPLYTOSENDER             = 102;
inline constexpr ULONG NOTEIVERB_REPLY_WITH_MAIL           = 549;
inline constexpr ULONG NOTEIVERB_SAVE                      = 500;
inline constexpr ULONG NOTEIVERB_SAVEAS                    = 106;
inline constexpr ULONG NOTEIVERB_SILENTCANCEL              = 520;
inline constexpr ULONG NOTEIVERB_SILENTINVITE              = 519;
inline constexpr ULONG NOTEIVERB_STATUSREPORT              = 527;
inline constexpr ULONG NOTEIVERB_TENTATIVE                 = 513;
inline constexpr ULONG NOTEIVERB_TENTPNTIME                = 533;
inline constexpr ULONG NOTEIVERB_TODO_NEXTMONTH            = 571;
inline constexpr ULONG NOTEIVERB_TODO_NEXTWEEK             = 569;
inline constexpr ULONG NOTEIVERB_TODO_NODATE               = 572;
inline constexpr ULONG NOTEIVERB_TODO_THISMONTH            = 570;
inline constexpr ULONG NOTEIVERB_TODO_THISWEEK             = 568;
inline constexpr ULONG NOTEIVERB_TODO_TODAY                = 566;
inline constexpr ULONG NOTEIVERB_TODO_TOMORROW             = 567;
inline constexpr ULONG NOTEIVERB_UPDATE                    = 517;

// Icons of items in a contents table (PR_ICON_INDEX).
inline constexpr ULONG ICON_INDEX_NEW_MAIL                             = 0xFFFFFFFF;
inline constexpr ULONG ICON_INDEX_POST                                 = 0x00000001;
inline constexpr ULONG ICON_INDEX_OTHER                                = 0x00000003;
inline constexpr ULONG ICON_INDEX_READ_MAIL                            = 0x00000100;
inline constexpr ULONG ICON_INDEX_UNREAD_MAIL                          = 0x00000101;
inline constexpr ULONG ICON_INDEX_SUBMITTED_MAIL                       = 0x00000102;
inline constexpr ULONG ICON_INDEX_UNSENT_MAIL                          = 0x00000103;
inline constexpr ULONG ICON_INDEX_RECEIPT_MAIL                         = 0x00000104;
inline constexpr ULONG ICON_INDEX_REPLIED_MAIL                         = 0x00000105;
inline constexpr ULONG ICON_INDEX_FORWARDED_MAIL                       = 0x00000106;
inline constexpr ULONG ICON_INDEX_REMOTE_MAIL                          = 0x00000107;
inline constexpr ULONG ICON_INDEX_DELIVERY_MAIL                        = 0x00000108;
inline constexpr ULONG ICON_INDEX_READ_RECEIPT_MAIL                    = 0x00000109;
inline constexpr ULONG ICON_INDEX_NONDELIVERY_MAIL                     = 0x0000010A;
inline constexpr ULONG ICON_INDEX_NONREAD_MAIL                         = 0x0000010B;
inline constexpr ULONG ICON_INDEX_RECALL_S_MAIL                        = 0x0000010C;
inline constexpr ULONG ICON_INDEX_RECALL_F_MAIL                        = 0x0000010D;
inline constexpr ULONG ICON_INDEX_TRACKING_MAIL                        = 0x0000010E;
inline constexpr ULONG ICON_INDEX_MAIL_SIGNED                          = 0x0000010F;
inline constexpr ULONG ICON_INDEX_MAIL_ENCRYPTED                       = 0x00000110;
inline constexpr ULONG ICON_INDEX_MAIL_SMIME_SIGNED                    = 0x00000111;
inline constexpr ULONG ICON_INDEX_MAIL_SMIME_RECEIPT                   = 0x00000112;
inline constexpr ULONG ICON_INDEX_MAIL_ENCRYPTED_REPLIED               = 0x00000113;
inline constexpr ULONG ICON_INDEX_MAIL_SMIME_SIGNED_REPLIED            = 0x00000114;
inline constexpr ULONG ICON_INDEX_MAIL_ENCRYPTED_FORWARDED             = 0x00000115;
inline constexpr ULONG ICON_INDEX_MAIL_SMIME_SIGNED_FORWARDED          = 0x00000116;
inline constexpr ULONG ICON_INDEX_MAIL_ENCRYPTED_READ                  = 0x00000117;
inline constexpr ULONG ICON_INDEX_MAIL_SMIME_SIGNED_READ               = 0x00000118;
inline constexpr ULONG ICON_INDEX_OUT_OF_OFFICE_MAIL                   = 0x0000011B;
inline constexpr ULONG ICON_INDEX_RECALL_MAIL                          = 0x0000011C;
inline constexpr ULONG ICON_INDEX_TRACKED_MAIL                         = 0x00000130;
inline constexpr ULONG ICON_INDEX_IRM_READ_MAIL                        = 0x00000131;
inline constexpr ULONG ICON_INDEX_IRM_UNREAD_MAIL                      = 0x00000132;
inline constexpr ULONG ICON_INDEX_IRM_FORWARDED_MAIL                   = 0x00000133;
inline constexpr ULONG ICON_INDEX_IRM_REPLIED_MAIL                     = 0x00000134;
inline constexpr ULONG ICON_INDEX_IRM_COMPOSE_MAIL                     = 0x00000135;
inline constexpr ULONG ICON_INDEX_CONTACT                              = 0x00000200;
inline constexpr ULONG ICON_INDEX_DISTRIBUTION_LIST                    = 0x00000202;
inline constexpr ULONG ICON_INDEX_STICKY_NOTE_BLUE                     = 0x00000300;
inline constexpr ULONG ICON_INDEX_STICKY_NOTE_GREEN                    = 0x00000301;
inline constexpr ULONG ICON_INDEX_STICKY_NOTE_PINK                     = 0x00000302;
inline constexpr ULONG ICON_INDEX_STICKY_NOTE_YELLOW                   = 0x00000303;
inline constexpr ULONG ICON_INDEX_STICKY_NOTE_WHITE                    = 0x00000304;
inline constexpr ULONG ICON_INDEX_SINGLE_INSTANCE_APPOINTMENT          = 0x00000400;
inline constexpr ULONG ICON_INDEX_RECURRING_APPOINTMENT                = 0x00000401;
inline constexpr ULONG ICON_INDEX_SINGLE_INSTANCE_MEETING              = 0x00000402;
inline constexpr ULONG ICON_INDEX_RECURRING_MEETING                    = 0x00000403;
inline constexpr ULONG ICON_INDEX_MEETING_REQUEST                      = 0x00000404;
inline constexpr ULONG ICON_INDEX_ACCEPT                               = 0x00000405;
inline constexpr ULONG ICON_INDEX_DECLINE                              = 0x00000406;
inline constexpr ULONG ICON_INDEX_TENTATIVE                            = 0x00000407;
inline constexpr ULONG ICON_INDEX_CANCELATION                          = 0x00000408;
inline constexpr ULONG ICON_INDEX_INFORMATIONAL_UPDATE                 = 0x00000409;
inline constexpr ULONG ICON_INDEX_TASK                                 = 0x00000500;
inline constexpr ULONG ICON_INDEX_UNASSIGNED_RECURRING_TASK            = 0x00000501;
inline constexpr ULONG ICON_INDEX_ASSIGNEE_TASK                        = 0x00000502;
inline constexpr ULONG ICON_INDEX_ASSIGNER_TASK                        = 0x00000503;
inline constexpr ULONG ICON_INDEX_TASK_REQUEST                         = 0x00000504;
inline constexpr ULONG ICON_INDEX_TASK_ACCEPTANCE                      = 0x00000505;
inline constexpr ULONG ICON_INDEX_TASK_REJECTION                       = 0x00000506;
inline constexpr ULONG ICON_INDEX_JOURNAL_CONVERSATION                 = 0x00000601;
inline constexpr ULONG ICON_INDEX_JOURNAL_EMAIL_MESSAGE                = 0x00000602;
inline constexpr ULONG ICON_INDEX_JOURNAL_MEETING_REQUEST              = 0x00000603;
inline constexpr ULONG ICON_INDEX_JOURNAL_MEETING_RESPONSE             = 0x00000604;
inline constexpr ULONG ICON_INDEX_JOURNAL_TASK_REQUEST                 = 0x00000606;
inline constexpr ULONG ICON_INDEX_JOURNAL_TASK_RESPONSE                = 0x00000607;
inline constexpr ULONG ICON_INDEX_JOURNAL_NOTE                         = 0x00000608;
inline constexpr ULONG ICON_INDEX_JOURNAL_FAX                          = 0x00000609;
inline constexpr ULONG ICON_INDEX_JOURNAL_PHONE_CALL                   = 0x0000060A;
inline constexpr ULONG ICON_INDEX_JOURNAL_LETTER                       = 0x0000060C;
inline constexpr ULONG ICON_INDEX_JOURNAL_MICROSOFT_OFFICE_WORD        = 0x0000060D;
inline constexpr ULONG ICON_INDEX_JOURNAL_MICROSOFT_OFFICE_EXCEL       = 0x0000060E;
inline constexpr ULONG ICON_INDEX_JOURNAL_MICROSOFT_OFFICE_POWER_POINT = 0x0000060F;
inline constexpr ULONG ICON_INDEX_JOURNAL_MICROSOFT_OFFICE_ACCESS      = 0x00000610;
inline constexpr ULONG ICON_INDEX_JOURNAL_DOCUMENT                     = 0x00000612;
inline constexpr ULONG ICON_INDEX_JOURNAL_MEETING                      = 0x00000613;
inline constexpr ULONG ICON_INDEX_JOURNAL_MEETING_CANCELLATION         = 0x00000614;
inline constexpr ULONG ICON_INDEX_JOURNAL_REMOTE_SESSION               = 0x00000615;

// Editor formats (PR_MSG_EDITOR_FORMAT).
inline constexpr ULONG EDITOR_FORMAT_DONTKNOW  = 0;
inline constexpr ULONG EDITOR_FORMAT_PLAINTEXT = 1;
inline constexpr ULONG EDITOR_FORMAT_HTML      = 2;
inline constexpr ULONG EDITOR_FORMAT_RTF       = 3;

// Native body info (PR_NATIVE_BODY_INFO).
inline constexpr ULONG nbiClearSigned   = 4;
inline constexpr ULONG nbiHtml          = 3;
inline constexpr ULONG nbiPlainText     = 1;
inline constexpr ULONG nbiRtfCompressed = 2;
inline constexpr ULONG nbiUndefined     = 0;

// Internet formats (PR_INETMAIL_OVERRIDE_FORMAT).
inline constexpr ULONG INTERNET_FORMAT_BINHEX   = 3;
inline constexpr ULONG INTERNET_FORMAT_DEFAULT  = 0;
inline constexpr ULONG INTERNET_FORMAT_MIME     = 1;
inline constexpr ULONG INTERNET_FORMAT_UUENCODE = 2;

// Internet encodings (PR_SEND_INTERNET_ENCODING).
inline constexpr ULONG BODY_ENCODING_HTML              = 0x00080000;
inline constexpr ULONG BODY_ENCODING_TEXT_AND_HTML     = 0x00100000;
inline constexpr ULONG ENCODING_MIME                   = 0x00040000;
inline constexpr ULONG ENCODING_PREFERENCE             = 0x00020000;
inline constexpr ULONG MAC_ATTACH_ENCODING_APPLEDOUBLE = 0x00600000;
inline constexpr ULONG MAC_ATTACH_ENCODING_APPLESINGLE = 0x00400000;
inline constexpr ULONG MAC_ATTACH_ENCODING_UUENCODE    = 0x00200000;
inline constexpr ULONG OOP_DONT_LOOKUP                 = 0x10000000;

// Message security flags (PR_SECURITY_FLAGS).
inline constexpr ULONG SECFLAG_ENCRYPTED = 1;
inline constexpr ULONG SECFLAG_NONE      = 0;
inline constexpr ULONG SECFLAG_SIGNED    = 2;

// Automatic answers that the sender does not want (PR_AUTO_RESPONSE_SUPPRESS).
inline constexpr ULONG AUTO_RESPONSE_SUPPRESS_DR           = 0x00000001;
inline constexpr ULONG AUTO_RESPONSE_SUPPRESS_NDR          = 0x00000002;
inline constexpr ULONG AUTO_RESPONSE_SUPPRESS_RN           = 0x00000004;
inline constexpr ULONG AUTO_RESPONSE_SUPPRESS_NRN          = 0x00000008;
inline constexpr ULONG AUTO_RESPONSE_SUPPRESS_OOF          = 0x00000010;
inline constexpr ULONG AUTO_RESPONSE_SUPPRESS_AUTO_REPLY   = 0x00000020;
inline constexpr ULONG AUTO_RESPONSE_SUPPRESS_NORFC821FROM = 0x00000040;

// Follow-up flag of a message (PR_FLAG_STATUS).
inline constexpr ULONG flwupComplete = 1;
inline constexpr ULONG flwupMarked   = 2;
inline constexpr ULONG flwupNone     = 0;

// Free or busy state of an appointment.
inline constexpr ULONG olBusy        = 2;
inline constexpr ULONG olFree        = 0;
inline constexpr ULONG olOutOfOffice = 3;
inline constexpr ULONG olTentative   = 1;

// Answer to a meeting request.
inline constexpr ULONG respAccepted     = 3;
inline constexpr ULONG respDeclined     = 4;
inline constexpr ULONG respNone         = 0;
inline constexpr ULONG respNotResponded = 5;
inline constexpr ULONG respOrganized    = 1;
inline constexpr ULONG respTentative    = 2;

// Kind of a meeting request.
inline constexpr ULONG mtgDelegatorCopy = 0x00100000;
inline constexpr ULONG mtgEmpty         = 0x00000000;
inline constexpr ULONG mtgFull          = 0x00010000;
inline constexpr ULONG mtgInfo          = 0x00020000;
inline constexpr ULONG mtgOutofDate     = 0x00080000;
inline constexpr ULONG mtgRequest       = 0x00000001;

// Appointment state flags.
inline constexpr ULONG asfCancelled = 0x00000004;
inline constexpr ULONG asfForward   = 0x00000008;
inline constexpr ULONG asfMeeting   = 0x00000001;
inline constexpr ULONG asfNone      = 0x00000000;
inline constexpr ULONG asfReceived  = 0x00000002;

// Appointment auxiliary flags.
inline constexpr ULONG auxApptFlagCopied           = 0x00000001;
inline constexpr ULONG auxApptFlagForceMtgResponse = 0x00000002;
inline constexpr ULONG auxApptFlagForwarded        = 0x00000004;

// What the user meant by a calendar change (ClientIntent).
inline constexpr ULONG ciCanceled                       = 0x00000800;
inline constexpr ULONG ciDelegate                       = 0x00000002;
inline constexpr ULONG ciDeletedExceptionWithNoResponse = 0x00000008;
inline constexpr ULONG ciDeletedWithNoResponse          = 0x00000004;
inline constexpr ULONG ciExceptionCanceled              = 0x00001000;
inline constexpr ULONG ciManager                        = 0x00000001;
inline constexpr ULONG ciModifiedEndTime                = 0x00000100;
inline constexpr ULONG ciModifiedLocation               = 0x00000200;
inline constexpr ULONG ciModifiedStartTime              = 0x00000080;
inline constexpr ULONG ciNone                           = 0x00000000;
inline constexpr ULONG ciRespondedAccept                = 0x00000020;
inline constexpr ULONG ciRespondedDecline               = 0x00000040;
inline constexpr ULONG ciRespondedExceptionDecline      = 0x00000400;
inline constexpr ULONG ciRespondedTentative             = 0x00000010;

// What changed in a meeting update.
inline constexpr ULONG BIT_CH_ALLOWPROPOSE = 0x00000400;
inline constexpr ULONG BIT_CH_ATT_REM      = 0x00001000;
inline constexpr ULONG BIT_CH_BODY         = 0x00000080;
inline constexpr ULONG BIT_CH_CONF         = 0x00000800;
inline constexpr ULONG BIT_CH_CUSTOM       = 0x00000100;
inline constexpr ULONG BIT_CH_END          = 0x00000002;
inline constexpr ULONG BIT_CH_LOCATION     = 0x00000008;
inline constexpr ULONG BIT_CH_NOTUSED      = 0x80000000;
inline constexpr ULONG BIT_CH_OPTATT       = 0x00000040;
inline constexpr ULONG BIT_CH_RECUR        = 0x00000004;
inline constexpr ULONG BIT_CH_REQATT       = 0x00000020;
inline constexpr ULONG BIT_CH_SILENT       = 0x00000200;
inline constexpr ULONG BIT_CH_START        = 0x00000001;
inline constexpr ULONG BIT_CH_SUBJECT      = 0x00000010;

// Recurrence of an appointment.
inline constexpr ULONG rectypeDaily   = 1;
inline constexpr ULONG rectypeMonthly = 3;
inline constexpr ULONG rectypeNone    = 0;
inline constexpr ULONG rectypeWeekly  = 2;
inline constexpr ULONG rectypeYearly  = 4;

// Recurrence pattern blob: frequency, end, day mask, week of the month and pattern type.
inline constexpr ULONG IDC_RCEV_PAT_ERB_AFTERNOCCUR = 0x00002022;
inline constexpr ULONG IDC_RCEV_PAT_ERB_END         = 0x00002021;
inline constexpr ULONG IDC_RCEV_PAT_ERB_NOEND       = 0x00002023;
inline constexpr ULONG IDC_RCEV_PAT_ORB_DAILY       = 0x0000200A;
inline constexpr ULONG IDC_RCEV_PAT_ORB_MONTHLY     = 0x0000200C;
inline constexpr ULONG IDC_RCEV_PAT_ORB_WEEKLY      = 0x0000200B;
inline constexpr ULONG IDC_RCEV_PAT_ORB_YEARLY      = 0x0000200D;
inline constexpr ULONG rdfFri                       = 0x00000020;
inline constexpr ULONG rdfMon                       = 0x00000002;
inline constexpr ULONG rdfSat                       = 0x00000040;
inline constexpr ULONG rdfSun                       = 0x00000001;
inline constexpr ULONG rdfThu                       = 0x00000010;
inline constexpr ULONG rdfTue                       = 0x00000004;
inline constexpr ULONG rdfWed                       = 0x00000008;
inline constexpr ULONG rpn1st                       = 0x00000001;
inline constexpr ULONG rpn2nd                       = 0x00000002;
inline constexpr ULONG rpn3rd                       = 0x00000003;
inline constexpr ULONG rpn4th                       = 0x00000004;
inline constexpr ULONG rpnLast                      = 0x00000005;
inline constexpr ULONG rptHjMonth                   = 0x0000000A;
inline constexpr ULONG rptHjMonthEnd                = 0x0000000C;
inline constexpr ULONG rptHjMonthNth                = 0x0000000B;
inline constexpr ULONG rptMinute                    = 0x00000000;
inline constexpr ULONG rptMonth                     = 0x00000002;
inline constexpr ULONG rptMonthEnd                  = 0x00000004;
inline constexpr ULONG rptMonthNth                  = 0x00000003;
inline constexpr ULONG rptWeek                      = 0x00000001;

// What an exception of a recurring appointment overrides.
inline constexpr ULONG ARO_APPTCOLOR        = 0x00000100;
inline constexpr ULONG ARO_ATTACHMENT       = 0x00000040;
inline constexpr ULONG ARO_BUSYSTATUS       = 0x00000020;
inline constexpr ULONG ARO_EXCEPTIONAL_BODY = 0x00000200;
inline constexpr ULONG ARO_LOCATION         = 0x00000010;
inline constexpr ULONG ARO_MEETINGTYPE      = 0x00000002;
inline constexpr ULONG ARO_REMINDER         = 0x00000008;
inline constexpr ULONG ARO_REMINDERDELTA    = 0x00000004;
inline constexpr ULONG ARO_SUBJECT          = 0x00000001;
inline constexpr ULONG ARO_SUBTYPE          = 0x00000080;

// Task delegation: mode (tdmt), ownership (tdv) and status (tsv).
inline constexpr ULONG tdmtNothing   = 0;
inline constexpr ULONG tdmtTaskAcc   = 2;
inline constexpr ULONG tdmtTaskDec   = 3;
inline constexpr ULONG tdmtTaskReq   = 1;
inline constexpr ULONG tdmtTaskSELF  = 5;
inline constexpr ULONG tdmtTaskUpd   = 4;
inline constexpr ULONG tdvAccepted   = 2;
inline constexpr ULONG tdvDeclined   = 3;
inline constexpr ULONG tdvNone       = 0;
inline constexpr ULONG tdvUnknown    = 1;
inline constexpr ULONG tsvComplete   = 2;
inline constexpr ULONG tsvDeferred   = 4;
inline constexpr ULONG tsvInProgress = 1;
inline constexpr ULONG tsvNotStarted = 0;
inline constexpr ULONG tsvWaiting    = 3;

// Blocks and elements of the additional special folders (PR_ADDITIONAL_REN_ENTRYIDS_EX).
inline constexpr ULONG RSF_ELID_ENTRYID           = 0x00000001;
inline constexpr ULONG RSF_ELID_HEADER            = 0x00000002;
inline constexpr ULONG RSF_PID_COMBINED_ACTIONS   = 0x00008007;
inline constexpr ULONG RSF_PID_CONV_ACTIONS       = 0x00008006;
inline constexpr ULONG RSF_PID_RSS_SUBSCRIPTION   = 0x00008001;
inline constexpr ULONG RSF_PID_SEND_AND_TRACK     = 0x00008002;
inline constexpr ULONG RSF_PID_SUGGESTED_CONTACTS = 0x00008008;
inline constexpr ULONG RSF_PID_TODO_SEARCH        = 0x00008004;
inline constexpr ULONG RSF_PID_TREAT_AS_SF        = 0x00008000;
inline constexpr ULONG RSF_PID_CONTACT_SEARCH     = 0x00008009;
inline constexpr ULONG RSF_PID_BUDDYLIST_PDLS     = 0x0000800A;
inline constexpr ULONG RSF_PID_BUDDYLIST_CONTACTS = 0x0000800B;

// Unit of the aging period.
inline constexpr ULONG AG_MONTHS       = 0;
inline constexpr ULONG AG_WEEKS        = 1;
inline constexpr ULONG AG_DAYS         = 2;
inline constexpr ULONG AG_DEFAULT_ALL  = 2;
inline constexpr ULONG AG_DEFAULT_FILE = 1;

// Retention flags (PR_RETENTION_FLAGS).
inline constexpr ULONG RETENTION_FLAGS_EXPLICIT         = 0x00000001;
inline constexpr ULONG RETENTION_FLAGS_TAG_CHANGED      = 0x00000002;
inline constexpr ULONG RETENTION_FLAGS_AUTOTAG          = 0x00000004;
inline constexpr ULONG RETENTION_FLAGS_PERSONAL         = 0x00000008;
inline constexpr ULONG RETENTION_FLAGS_EXPLICIT_ARCHIVE = 0x00000010;
inline constexpr ULONG RETENTION_FLAGS_KEEP_IN_PLACE    = 0x00000020;
inline constexpr ULONG RETENTION_FLAGS_NEEDS_RESCAN     = 0x00000080;
inline constexpr ULONG RETENTION_FLAGS_PENDING_RESCAN   = 0x00000100;
inline constexpr ULONG RETENTION_FLAGS_SYSTEM_DATA      = 0x00000040;

// Encryption of an offline or personal store file.
inline constexpr ULONG OSTF_NO_ENCRYPTION           = 0x80000000;
inline constexpr ULONG OSTF_COMPRESSABLE_ENCRYPTION = 0x40000000;
inline constexpr ULONG OSTF_BEST_ENCRYPTION         = 0x20000000;
inline constexpr ULONG PSTF_NO_ENCRYPTION           = 0x80000000;
inline constexpr ULONG PSTF_COMPRESSABLE_ENCRYPTION = 0x40000000;
inline constexpr ULONG PSTF_BEST_ENCRYPTION         = 0x20000000;

// Configuration of a store file service.
inline constexpr ULONG OST_CONFIG_CREATE_NEW_DEFAULT_OST  = 0x00000010;
inline constexpr ULONG OST_CONFIG_POLICY_DELAY_IGNORE_OST = 0x00000008;
inline constexpr ULONG PST_CONFIG_CREATE_NOWARN           = 0x00000001;
inline constexpr ULONG PST_CONFIG_PRESERVE_DISPLAY_NAME   = 0x00000002;
inline constexpr ULONG PST_CONFIG_UNICODE                 = 0x80000000;
// clang-format on

} // namespace mapi
