VERSION 5.00
Begin VB.Form frmCadastro
   Caption         =   "Cadastro de clientes"
   ClientHeight    =   2400
   ClientLeft      =   60
   ClientTop       =   390
   ClientWidth     =   4800
   StartUpPosition =   2
   Begin VB.Label lblNome
      Left            =   180
      Top             =   240
      Width           =   900
      Height          =   240
      TabIndex        =   0
      Caption         =   "&Nome:"
      BackStyle       =   0
   End
   Begin VB.TextBox txtNome
      Left            =   1200
      Top             =   180
      Width           =   3300
      Height          =   315
      TabIndex        =   1
      MaxLength       =   40
      Text            =   "Maria da Silva"
   End
   Begin VB.Label lblSenha
      Left            =   180
      Top             =   720
      Width           =   900
      Height          =   240
      TabIndex        =   2
      Caption         =   "&Senha:"
      BackStyle       =   0
   End
   Begin VB.TextBox txtSenha
      Left            =   1200
      Top             =   660
      Width           =   1800
      Height          =   315
      TabIndex        =   3
      PasswordChar    =   "*"
      Text            =   ""
   End
   Begin VB.TextBox txtObs
      Left            =   1200
      Top             =   1140
      Width           =   3300
      Height          =   720
      TabIndex        =   4
      MultiLine       =   -1  'True
      Text            =   "Cliente desde 2019." & vbCrLf & "Prefere contato por e-mail."
   End
   Begin VB.Shape shpLinha
      Left            =   180
      Top             =   2040
      Width           =   4320
      Height          =   30
      BorderColor     =   &H00808080&
   End
   Begin VB.Timer tmrRelogio
      Left            =   4350
      Top             =   2100
      Interval        =   1000
   End
End
